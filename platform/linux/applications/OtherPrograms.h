// Starting other programs of the desktop.
#pragma once

#include <QString>
#include <QStringList>

namespace platform::linux_desktop {

// Keeps the environment for the programs that are started later, whatever this one then changes of it for itself. To be
// called while there are no other threads.
void keepEnvironmentForOthers();

// Any thread. Waits for nothing of the program. False if it cannot be started.
bool startProgram(const QString& file, const QStringList& arguments);

}  // namespace platform::linux_desktop
