// How a row of the whitelist is drawn.
#pragma once

#include <QStyledItemDelegate>

namespace varnolet {

// The icon, the name, and below it the identifier where there is one besides the name.
class WhitelistRow : public QStyledItemDelegate {
 public:
  // Of the model's items: the bundle identifier; and whether a name stands for it, as their text.
  static constexpr int bundleIDRole = Qt::UserRole;
  static constexpr int hasNameRole = Qt::UserRole + 1;

  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace varnolet
