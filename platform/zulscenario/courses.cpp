#include "zulscenario/courses.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zulscenario {

namespace {

double share(Time part, Time whole)
{
    return static_cast<double>(part.count()) / static_cast<double>(whole.count());
}

} // namespace

double rampValue(const Ramp::Course& course, Time over, Time time)
{
    return time < over ? course.from + (course.to - course.from) * share(time, over) : course.to;
}

double waveValue(const Wave::Course& course, Wave::eShape shape, Time period, Time time)
{
    const double phase = share(time % period, period);
    switch (shape) {
    case Wave::eShape::SQUARE:
        return course.middle + (phase < 0.5 ? course.swing : -course.swing);
    case Wave::eShape::TRIANGLE: // from the middle up
        return course.middle + course.swing * (1.0 - 4.0 * std::abs(std::fmod(phase + 0.25, 1.0) - 0.5));
    default:
        return course.middle + course.swing * std::sin(2.0 * std::numbers::pi * phase);
    }
}

double walkValue(const Wave::Course& course, const Wave& wave, double value, double swing)
{
    const double longest = std::min(4.0 * share(wave.step, wave.period), 2.0) * course.swing;
    const double max = course.middle + course.swing;
    const double min = course.middle - course.swing;
    const double next = value + swing * longest;
    return next > max ? 2.0 * max - next : next < min ? 2.0 * min - next : next;
}

TablePlace::TablePlace(const Play* play) : mPlay(play), mSegments(play->table->columns.size())
{
    beginRow(0);
}

Time TablePlace::time() const { return mBegan + table().times[mRow] + mSteps * mPlay->step; }

bool TablePlace::isInside(size_t column) const
{
    const Segment& segment = mSegments[column];
    return table().columns[column].linear && segment.from && segment.to < table().times.size();
}

std::optional<double> TablePlace::valueOf(size_t column) const
{
    if (const auto value = table().value(mRow, column); value && mSteps == 0) {
        return *value;
    }
    if (!isInside(column)) {
        return std::nullopt;
    }
    const auto& [from, to] = mSegments[column];
    const Time begin = table().times[*from];
    const double first = *table().value(*from, column);
    const double last = *table().value(to, column);
    return first + (last - first) * share(time() - mBegan - begin, table().times[to] - begin);
}

void TablePlace::beginRow(size_t row)
{
    mRow = row;
    mSteps = 0;
    for (size_t column = 0; column < mSegments.size(); ++column) {
        auto& [from, to] = mSegments[column];
        from = table().value(row, column) ? row : from;
        for (to = std::max(to, row + 1); to < table().times.size() && !table().value(to, column); ++to) {
        }
    }
}

bool TablePlace::advance()
{
    const auto& times = table().times;
    bool inside = false;
    for (size_t column = 0; column < mSegments.size(); ++column) {
        inside = inside || isInside(column);
    }
    if (inside && times[mRow] + (mSteps + 1) * mPlay->step < times[mRow + 1]) {
        ++mSteps;
    } else if (mRow + 1 < times.size()) {
        beginRow(mRow + 1);
    } else if (mPlay->loop) {
        mBegan += times.back();
        std::ranges::fill(mSegments, Segment());
        beginRow(0);
    } else {
        return false;
    }
    return true;
}

} // namespace zulscenario
