// Popovers as a part of what assistive programs find of this one.
#pragma once

namespace platform::ui {

// From now on the accessible tree of the application has as children, after its windows, its shown popups that belong
// to no other widget; without this the toolkit leaves them out, and a screen reader cannot get to what is in them.
// Once, on the main thread.
void showPopupsToAssistivePrograms();

}  // namespace platform::ui
