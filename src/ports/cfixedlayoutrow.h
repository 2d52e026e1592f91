#pragma once

#include <QHBoxLayout>
#include <QLabel>

/// The layout of a port's row, which can change the text of a cell without a new layout.
///
/// A label invalidates the layout of its whole page with every text, which costs more than the rest of a
/// change.
class cFixedLayoutRow : public QHBoxLayout
{
public:
    /// @p cell is in this row and has room for @p text.
    void setText(QLabel* cell, const QString& text)
    {
        mFixed = true;
        cell->setText(text);
        mFixed = false;
    }

    void invalidate() override
    {
        if (!mFixed) {
            QHBoxLayout::invalidate();
        }
    }

private:
    bool mFixed = false;
};
