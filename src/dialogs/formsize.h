#pragma once

class QDialog;

/// Gives @p form, as drawn for 96 dots per inch, the size and the places for its display.
void scaleForm(QDialog& form);
