#pragma once

class QDialog;
class QPushButton;
class QSpinBox;
class QString;

/// Gives @p form, as drawn for 96 dots per inch, the size and the places for its display.
void scaleForm(QDialog& form);

/// Scales @p form, whose only child is @p button, fixes its size and adds a row above the button: @p caption,
/// unless that is empty, and a spin box, which comes before the button in the tab order. The form owns the
/// spin box. A form is laid out once.
QSpinBox* layOutItemsRow(QDialog& form, const QString& caption, QPushButton& button);
