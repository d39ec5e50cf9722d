#include "Varnolet/LogViewerPanels.h"

#include <QProgressBar>
#include <QVBoxLayout>

#include "platform/ui/Label.h"
#include "platform/ui/NSColor.h"
#include "platform/ui/SymbolView.h"

namespace varnolet {

using namespace platform::ui;

QWidget* makeLoadingPanel(QWidget* parent) {
  auto* panel = new QWidget(parent);
  auto* progress = new QProgressBar(panel);
  progress->setRange(0, 0);  // nobody knows how long
  progress->setFixedWidth(160);
  progress->setTextVisible(false);
  progress->setAccessibleName(QStringLiteral("Loading events..."));
  auto* column = new QVBoxLayout(panel);
  column->addStretch();
  column->addWidget(progress, 0, Qt::AlignHCenter);
  column->addWidget(new Label(QStringLiteral("Loading events..."), TextStyle::body, &NSColor::secondaryLabel, panel), 0,
                    Qt::AlignHCenter);
  column->addStretch();
  return panel;
}

QWidget* makeEmptyPanel(QWidget* parent) {
  auto* panel = new QWidget(parent);
  auto* column = new QVBoxLayout(panel);
  column->setSpacing(8);
  column->addStretch();
  column->addWidget(new SymbolView(QStringLiteral("tray"), 48, &NSColor::tertiaryLabel, panel), 0, Qt::AlignHCenter);
  column->addWidget(new Label(QStringLiteral("No Events"), TextStyle::title3, &NSColor::label, panel), 0,
                    Qt::AlignHCenter);
  column->addWidget(new Label(QStringLiteral("No blocked events found for the selected date range."),
                              TextStyle::subheadline, &NSColor::secondaryLabel, panel),
                    0, Qt::AlignHCenter);
  column->addStretch();
  return panel;
}

}  // namespace varnolet
