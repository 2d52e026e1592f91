#ifndef ITEMSROW_H
#define ITEMSROW_H

class QDialog;
class QPushButton;
class QSpinBox;
class QString;

/// Lays out @p dialog as a row of @p caption, unless that is empty, and a spin box, which comes before @p
/// button for the Tab key. The dialog owns the spin box. A dialog is laid out once.
QSpinBox* layOutItemsRow(QDialog* dialog, const QString& caption, QPushButton* button);

#endif
