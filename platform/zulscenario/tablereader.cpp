#include "zulscenario/tablereader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "zuldevice/devicefile.h"
#include "zulscenario/valuetext.h"

namespace zulscenario {

namespace {

constexpr size_t kMaxCells = zuldevice::kMaxItems + 1; ///< of a row
constexpr float kEmpty = std::numeric_limits<float>::quiet_NaN();

struct Cell
{
    std::string_view text;
    size_t offset; ///< in the file
};

std::string_view withoutEnds(std::string_view text, const char* ends)
{
    const size_t begin = std::min(text.find_first_not_of(ends), text.size());
    return text.substr(begin, text.find_last_not_of(ends) + 1 - begin);
}

/// A port as a table names it: such as "DIN 1".
std::optional<Port> parseColumn(std::string_view text)
{
    std::string name(text);
    for (char& letter : name) {
        letter = static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter);
    }
    return parsePort(name);
}

class TableReader
{
public:
    TableReader(std::string_view content, const ValueReader& values) : mContent(content), mValues(values) {}

    Table read()
    {
        reserve();
        for (size_t at = 0; at < mContent.size() && !mValues.mistakes().failed();) {
            const size_t end = std::min(mContent.find('\n', at), mContent.size());
            readLine(at, mContent.substr(at, end - at));
            at = end + 1;
        }
        if (mTable.times.empty()) {
            fail(mContent.size(), "The table has no row with a time.");
        }
        return std::move(mTable);
    }

private:
    void fail(size_t offset, const std::string& sentence) const { mValues.mistakes().fail(offset, sentence); }

    /// A table of the maximum size fits in memory once, not twice.
    void reserve()
    {
        mTable.times.reserve(static_cast<size_t>(std::ranges::count(mContent, '\n')) + 1);
        mTable.values.reserve(static_cast<size_t>(std::ranges::count(mContent, ',')));
    }

    void readLine(size_t offset, std::string_view line)
    {
        if (withoutEnds(line, " \t\r").empty()) {
            return;
        }
        split(offset, line);
        if (mCells.size() > kMaxCells) {
            fail(offset, "This row has more than 100,000 values.");
        } else if (mTable.columns.empty()) {
            readHead();
        } else if (mCells.size() != mTable.columns.size() + 1) {
            fail(offset, "This row has " + std::to_string(mCells.size()) + " cells, the first one has " +
                             std::to_string(mTable.columns.size() + 1) + ".");
        } else if (mTable.times.empty() && (mCells[0].text == "Unit" || mCells[0].text == "Interp")) {
            readAbout();
        } else {
            readRow();
        }
    }

    void split(size_t offset, std::string_view line)
    {
        mCells.clear();
        for (size_t at = 0; at <= line.size() && mCells.size() <= kMaxCells;) {
            const size_t end = std::min(line.find(',', at), line.size());
            std::string_view text = withoutEnds(line.substr(at, end - at), " \t\r");
            if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
                text = text.substr(1, text.size() - 2);
            }
            mCells.push_back({text, offset + static_cast<size_t>(text.data() - line.data())});
            at = end + 1;
        }
    }

    void readHead()
    {
        if (mCells[0].text != "time" || mCells.size() == 1) {
            fail(mCells[0].offset, "The first row is not such as time,DIN 1,AIN 1.");
            return;
        }
        std::set<std::pair<eObjectTypes, uint32_t>> known;
        for (auto cell = mCells.begin() + 1; cell != mCells.end(); ++cell) {
            const std::optional<Port> port = parseColumn(cell->text);
            if (!port || (port->type != OBJ_PORT_DIN && port->type != OBJ_PORT_AIN)) {
                fail(cell->offset,
                     "A column is an input such as DIN 1 or AIN 1, not " + excerpt(cell->text) + ".");
                return;
            }
            mValues.checkPort(*port, {.offset = cell->offset, .text = std::string(cell->text)});
            if (!known.emplace(port->type, port->number).second) {
                fail(cell->offset,
                     "The column " + excerpt(cell->text) + " is there twice; leave one of them out.");
            }
            mTable.columns.push_back({*port});
        }
    }

    /// The rows about columns: units, which are for people, and what is between two values.
    void readAbout()
    {
        bool& known = mCells[0].text == "Unit" ? mHasUnits : mHasInterp;
        if (known) {
            fail(mCells[0].offset,
                 "There are two rows " + excerpt(mCells[0].text) + "; leave one of them out.");
        }
        known = true;
        for (size_t i = 0; i < mTable.columns.size() && mCells[0].text == "Interp"; ++i) {
            const Cell& cell = mCells[i + 1];
            Table::Column& column = mTable.columns[i];
            column.linear = cell.text == "linear";
            if (!column.linear && cell.text != "hold" && !cell.text.empty()) {
                fail(cell.offset, "Interp is hold or linear, not " + excerpt(cell.text) + ".");
            } else if (column.linear && column.port.isDigital()) {
                fail(cell.offset, "A digital input has no values between high and low; write hold.");
            }
        }
    }

    void readRow()
    {
        const std::string_view text = mCells[0].text;
        const std::optional<double> seconds = parseDecimal(text);
        const bool isNumber =
            seconds && *seconds >= 0.0 && *seconds <= std::chrono::duration<double>(kMaxTime).count();
        const std::optional<Time> time =
            isNumber ? std::make_optional(Time(std::llround(*seconds * 1e6))) : parseTime(text);
        if (!time) {
            fail(mCells[0].offset,
                 "A row begins with a time such as 90, 1.5 or 1m30s, not " + excerpt(text) + ".");
            return;
        }
        if (!mTable.times.empty() && *time <= mTable.times.back()) {
            fail(mCells[0].offset, "This time is not later than that of the row before.");
        }
        mTable.times.push_back(*time);
        for (size_t i = 0; i < mTable.columns.size(); ++i) {
            mTable.values.push_back(valueOf(mCells[i + 1], mTable.columns[i].port.isDigital()));
        }
    }

    float valueOf(const Cell& cell, bool isDigital) const
    {
        if (cell.text.empty()) {
            return kEmpty;
        }
        if (isDigital && (cell.text == "high" || cell.text == "low")) {
            return cell.text == "high" ? 1.0F : 0.0F;
        }
        const std::optional<double> number = parseDecimal(cell.text);
        if (!number || (isDigital && *number != 0.0 && *number != 1.0)) {
            fail(cell.offset, std::string("A value of ") +
                                  (isDigital ? "a digital input is high, low, 1 or 0, not "
                                             : "an analog input is a number such as 20 or 37.5, not ") +
                                  excerpt(cell.text) + ".");
        }
        return static_cast<float>(number.value_or(0.0));
    }

    const std::string_view mContent;
    const ValueReader& mValues;
    Table mTable;
    std::vector<Cell> mCells;
    bool mHasUnits = false;
    bool mHasInterp = false;
};

} // namespace

Table readTable(std::string_view content, const ValueReader& values)
{
    return TableReader(content, values).read();
}

} // namespace zulscenario
