#include "zulscenario/tablereader.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using namespace zulscenario;
using namespace std::chrono_literals;

constexpr zuldevice::Counts kTableCounts{4, 4, 2, 2, 2};

Table readCells(const std::string& text)
{
    Mistakes mistakes("day.csv", text);
    Table table = readTable(text, ValueReader(kTableCounts, &mistakes));
    EXPECT_EQ(mistakes.text(), "");
    return table;
}

std::string tableMistake(const std::string& text)
{
    Mistakes mistakes("day.csv", text);
    readTable(text, ValueReader(kTableCounts, &mistakes));
    return mistakes.text();
}

TEST(TableReaderTest, ColumnsAreInputs)
{
    const Table table = readCells("time,DIN 2,ain 1\n0,high,20\n");
    ASSERT_EQ(table.columns.size(), 2U);
    EXPECT_EQ(table.columns[0].port, (Port{OBJ_PORT_DIN, 2}));
    EXPECT_EQ(table.columns[1].port, (Port{OBJ_PORT_AIN, 1}));
    EXPECT_FALSE(table.columns[1].linear);
}

TEST(TableReaderTest, TimesAreSecondsOrWrittenWithUnits)
{
    EXPECT_EQ(readCells("time,DIN 1\n0,1\n1.5,0\n1m30s,1\n3600,0\n2h,1\n").times,
              (std::vector<Time>{0s, 1500ms, 90s, 1h, 2h}));
}

TEST(TableReaderTest, CellsAreNumbersHighLowOrEmpty)
{
    const Table table = readCells("time,DIN 1,AIN 1\n0,high,20\n1,low,-3.5\n2,,\n3,1,0\n4,0,7\n");
    const float expected[][2] = {{1.0F, 20.0F}, {0.0F, -3.5F}, {0.0F, 0.0F}, {1.0F, 0.0F}, {0.0F, 7.0F}};
    for (size_t row = 0; row < 5; ++row) {
        for (size_t column = 0; column < 2; ++column) {
            EXPECT_EQ(table.value(row, column),
                      row == 2 ? std::nullopt : std::make_optional(expected[row][column]));
        }
    }
}

TEST(TableReaderTest, UnitsAndInterpolationMayBeLeftOutOrComeInAnyOrder)
{
    const std::string rows = "0,1,20\n";
    for (const char* about :
         {"Unit,,°C\nInterp,hold,linear\n", "Interp,,linear\nUnit,-,V\n", "Interp,hold,linear\n"}) {
        const Table table = readCells("time,DIN 1,AIN 1\n" + std::string(about) + rows);
        EXPECT_FALSE(table.columns[0].linear) << about;
        EXPECT_TRUE(table.columns[1].linear) << about;
        EXPECT_EQ(table.times.size(), 1U) << about;
    }
}

TEST(TableReaderTest, LineEndsQuotationMarksAndBlankLinesOfSpreadsheetsAreTaken)
{
    const Table table = readCells("\"time\", \"DIN 1\" \r\n\r\n\"0\",\"high\"\r\n 1 , low\r\n\r\n");
    EXPECT_EQ(table.times, (std::vector<Time>{0s, 1s}));
    EXPECT_EQ(table.value(0, 0), 1.0F);
    EXPECT_EQ(table.value(1, 0), 0.0F);
}

TEST(TableReaderTest, EachMistakeHasItsCell)
{
    struct Row
    {
        const char* text;
        const char* mistake;
    };
    constexpr Row kRows[] = {
        {"", "day.csv:1:1: The table has no row with a time."},
        {"time,DIN 1\n", "day.csv:2:1: The table has no row with a time."},
        {"Time,DIN 1\n", "day.csv:1:1: The first row is not such as time,DIN 1,AIN 1."},
        {"time\n", "day.csv:1:1: The first row is not such as time,DIN 1,AIN 1."},
        {"time;DIN 1\n", "day.csv:1:1: The first row is not such as time,DIN 1,AIN 1."},
        {"time,DOUT 1\n", "day.csv:1:6: A column is an input such as DIN 1 or AIN 1, not \"DOUT 1\"."},
        {"time,DIN 1,\n", "day.csv:1:12: A column is an input such as DIN 1 or AIN 1, not \"\"."},
        {"time, DIN 5\n", "day.csv:1:7: There is no DIN 5: the device has 4."},
        {"time,DIN 1,din 1\n", "day.csv:1:12: The column \"din 1\" is there twice; leave one of them out."},
        {"time,DIN 1\n0\n", "day.csv:2:1: This row has 1 cells, the first one has 2."},
        {"time,DIN 1\n0,1,1\n", "day.csv:2:1: This row has 3 cells, the first one has 2."},
        {"time,DIN 1\nsoon,1\n",
         "day.csv:2:1: A row begins with a time such as 90, 1.5 or 1m30s, not \"soon\"."},
        {"time,DIN 1\n-1,1\n", "day.csv:2:1: A row begins with a time such as 90, 1.5 or 1m30s, not \"-1\"."},
        {"time,DIN 1\n1e9,1\n",
         "day.csv:2:1: A row begins with a time such as 90, 1.5 or 1m30s, not \"1e9\"."},
        {"time,DIN 1\n1,1\n1,0\n", "day.csv:3:1: This time is not later than that of the row before."},
        {"time,DIN 1\n2,1\n1,0\n", "day.csv:3:1: This time is not later than that of the row before."},
        {"time,DIN 1\n0,2\n", "day.csv:2:3: A value of a digital input is high, low, 1 or 0, not \"2\"."},
        {"time,AIN 1,AIN 2\n0,20,warm\n",
         "day.csv:2:6: A value of an analog input is a number such as 20 or 37.5, not \"warm\"."},
        {"time,AIN 1\n0,nan\n",
         "day.csv:2:3: A value of an analog input is a number such as 20 or 37.5, not \"nan\"."},
        {"time,AIN 1\nUnit,V\nUnit,V\n", "day.csv:3:1: There are two rows \"Unit\"; leave one of them out."},
        {"time,AIN 1\nInterp,cubic\n", "day.csv:2:8: Interp is hold or linear, not \"cubic\"."},
        {"time,DIN 1\nInterp,linear\n",
         "day.csv:2:8: A digital input has no values between high and low; write hold."},
        {"time,AIN 1\n0,1\nUnit,V\n",
         "day.csv:3:1: A row begins with a time such as 90, 1.5 or 1m30s, not \"Unit\"."},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(tableMistake(row.text), row.mistake) << row.text;
    }
}

} // namespace
