// Popovers as a part of what assistive programs find of this one.
#pragma once

namespace platform::ui {

// From now on the accessible tree of the application has its shown popups as children, after its windows; without this
// the toolkit leaves them out, and a screen reader cannot get to what is in them. Once, on the main thread.
void showPopupsToAssistivePrograms();

}  // namespace platform::ui
