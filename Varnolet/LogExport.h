// Saving a copy of the log of blocked events.
#pragma once

#include <QString>
#include <QWidget>
#include <memory>

#include "varnoletKit/EventLogManager.h"

namespace varnolet {

// Asks over the window where to, and copies the whole stored log there. A copy that fails is not reported. Main thread.
void exportLog(std::shared_ptr<varnoletKit::EventLogManager> eventLogManager, const QString& title, QWidget* window);

}  // namespace varnolet
