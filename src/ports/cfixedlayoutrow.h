#ifndef CFIXEDLAYOUTROW_H
#define CFIXEDLAYOUTROW_H

#include <QHBoxLayout>
#include <QLabel>

/// The cells of a port's row, some of which change their text without being laid out anew.
///
/// A label asks for a new layout of its whole page with every text, which costs more than all else that a
/// change does.
class cFixedLayoutRow : public QHBoxLayout
{
public:
    /// Shows @p text in @p cell, one of the row's, which has room for it.
    void setText(QLabel* cell, const QString& text)
    {
        mKeepsPlaces = true;
        cell->setText(text);
        mKeepsPlaces = false;
    }

    void invalidate() override
    {
        if (!mKeepsPlaces) {
            QHBoxLayout::invalidate();
        }
    }

private:
    bool mKeepsPlaces = false;
};

#endif
