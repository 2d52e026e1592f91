#pragma once

class QDialog;
class QPushButton;
class QSpinBox;
class QString;

/// Gives @p form, whose only child is @p button, its fixed size and a row above the button: @p caption,
/// unless that is empty, and a spin box, which comes before the button in the tab order. The form owns the
/// spin box. A form is laid out once.
QSpinBox* layOutItemsRow(QDialog& form, const QString& caption, QPushButton& button);
