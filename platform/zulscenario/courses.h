#pragma once

#include <vector>

#include "zulscenario/draws.h"
#include "zulscenario/scenario.h"

namespace zulscenario {

// The values of an action that goes on.

/// The value of @p course at @p time since the ramp began.
double rampValue(const Ramp::Course& course, Time over, Time time);

/// The value at @p time since the wave began, of any shape but a walk.
double waveValue(const Wave::Course& course, Wave::eShape shape, Time period, Time time);

/// The value of a walk after @p value, by @p swing from -1 to 1.
double walkValue(const Wave::Course& course, const Wave& wave, double value, double swing);

/// The place in a table that is played.
class TablePlace
{
public:
    /// @p play outlives it.
    explicit TablePlace(const Play* play);

    /// Since the table began.
    Time time() const;

    /// Calls @p set(Port, double) for each column that gets a value here.
    template <class SetValue>
    void visit(SetValue set) const
    {
        for (size_t column = 0; column < mSegments.size(); ++column) {
            if (const std::optional<double> value = valueOf(column)) {
                set(mPlay->table->columns[column].port, *value);
            }
        }
    }

    /// Goes to the next place. False at the end.
    bool advance();

private:
    /// The rows around this place in which a column has a value.
    struct Segment
    {
        std::optional<size_t> from;
        size_t to = 0; ///< behind the last row for none
    };

    const Table& table() const { return *mPlay->table; }
    bool isInside(size_t column) const;
    std::optional<double> valueOf(size_t column) const;
    void beginRow(size_t row);

    const Play* mPlay;
    std::vector<Segment> mSegments; ///< of the columns
    Time mBegan = {};               ///< this round of the table
    size_t mRow = 0;
    int64_t mSteps = 0; ///< behind the row
};

} // namespace zulscenario
