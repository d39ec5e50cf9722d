// The two applications of the demonstration, each run as a process of its own.
#pragma once

namespace demo {

// A text editor. Reports "text <what it holds>" after every change.
int runEditor(int count, char** arguments);
// An updater whose window appears unasked as soon as it is started. Reports "key" for every key that it was given and
// "focus in" when it got the focus.
int runUpdater(int count, char** arguments);

}  // namespace demo
