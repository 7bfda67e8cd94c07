#include "utils/sutils.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <random>

#include "support/child_process.h"

namespace {

TEST(Int2str, DecimalText) {
    EXPECT_EQ(sutils::int2str(0), "0");
    EXPECT_EQ(sutils::int2str(-17), "-17");
    EXPECT_EQ(sutils::int2str(INT_MIN), "-2147483648");
    EXPECT_EQ(sutils::long2str(9223372036854775807L), "9223372036854775807");
    EXPECT_EQ(sutils::long2str(-1), "-1");
}

TEST(Double2str, FixedNotation) {
    struct row {
        double value;
        int precision;
        const char* expected;
    };
    for (const row& r : {row{0.5, 0, "0.500000"}, row{0.5, -1, "0.500000"}, row{0.5, 1, "0.5"},
                         row{2.0, 4, "2.0000"}, row{1e10, 2, "10000000000.00"}, row{-0.125, 2, "-0.12"},
                         row{0.375, 2, "0.38"}, row{1e-300, 10, "0.0000000000"}, row{5.0, 5, "5.00000"}})
        EXPECT_EQ(sutils::double2str(r.value, r.precision), r.expected);
    EXPECT_EQ(sutils::double2str(1.25), "1.250000");
}

TEST(Date2str, LocalTime) {
    // 2009-02-13 23:31:30 UTC, in the time zone of this machine.
    const long time = 1234567890;
    const std::time_t seconds = time;
    const std::tm* parts = std::localtime(&seconds);
    char expected[128];
    std::snprintf(expected, sizeof expected, "%02d/%02d/%04d %02d:%02d:%02d", parts->tm_mday,
                  parts->tm_mon + 1, parts->tm_year + 1900, parts->tm_hour, parts->tm_min, parts->tm_sec);
    EXPECT_EQ(sutils::date2str(&time, "%d/%m/%Y %H:%M:%S"), expected);
    EXPECT_EQ(sutils::date2str(&time, "text"), "text");
    EXPECT_EQ(sutils::date2str(&time, ""), "");
}

TEST(Date2str, HoldsUpTo127Bytes) {
    const long time = 0;
    EXPECT_EQ(sutils::date2str(&time, std::string(127, 'x')), std::string(127, 'x'));
    EXPECT_EQ(sutils::date2str(&time, std::string(128, 'x')), "");
}

TEST(Tokenize, SplitsAtRunsOfBlanksAndTabs) {
    struct row {
        const char* name;
        std::string line;
        std::vector<std::string> expected;
    };
    const std::vector<row> rows = {
        {"empty", "", {}},
        {"only gaps", " \t ", {}},
        {"one field", "rs1", {"rs1"}},
        {"one blank", "a b", {"a", "b"}},
        {"runs", "a \t\t b\tc", {"a", "b", "c"}},
        {"leading gaps", "  \ta", {"a"}},
        {"gaps at the end", "a b \t", {"a", "b"}},
        {"carriage return at the end", "a b\r", {"a", "b"}},
        {"carriage return after a blank", "a b \r", {"a", "b"}},
        {"a lone carriage return", "\r", {}},
        {"one carriage return is dropped", "a\r\r", {"a\r"}},
        {"carriage return inside", "a\rb c", {"a\rb", "c"}},
        {"other white space is no gap", "a\vb\fc", {"a\vb\fc"}},
    };
    for (const row& r : rows) {
        std::vector<std::string> fields = {"left over"};
        EXPECT_EQ(sutils::tokenize(r.line, fields), static_cast<int>(r.expected.size())) << r.name;
        EXPECT_EQ(fields, r.expected) << r.name;
        std::vector<std::string_view> views = {"left over"};
        EXPECT_EQ(sutils::tokenize(r.line, views), static_cast<int>(r.expected.size())) << r.name;
        EXPECT_EQ(std::vector<std::string>(views.begin(), views.end()), r.expected) << r.name;
    }
}

TEST(Tokenize, StopsAfterNFields) {
    struct row {
        int most;
        std::vector<std::string> expected;
    };
    for (const row& r : {row{0, {}}, row{-1, {}}, row{1, {"a"}}, row{2, {"a", "b"}}, row{3, {"a", "b", "c"}},
                         row{9, {"a", "b", "c"}}}) {
        std::vector<std::string> fields;
        EXPECT_EQ(sutils::tokenize(" a b\tc ", fields, r.most), static_cast<int>(r.expected.size()));
        EXPECT_EQ(fields, r.expected);
    }
}

TEST(Tokenize, FindsTheFieldsOfRandomLines) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<std::string> expected;
        std::string line(random() % 3, ' ');
        for (std::size_t f = random() % 8; f-- > 0;) {
            expected.emplace_back(1 + random() % 5, static_cast<char>('a' + random() % 26));
            line += expected.back() + (random() % 2 == 0 ? "\t" : "  ");
        }
        std::vector<std::string> fields;
        sutils::tokenize(line, fields);
        EXPECT_EQ(fields, expected) << line;
    }
}

TEST(Str2int, NumberAtTheStart) {
    struct row {
        const char* text;
        int expected;
    };
    for (const row& r :
         {row{"12", 12}, row{"-1", -1}, row{"+7", 7}, row{"007", 7}, row{"10kb", 10}, row{"1e6", 1},
          row{"rs12", 0}, row{"", 0}, row{" 8", 8}, row{"2147483647", INT_MAX}, row{"-2147483648", INT_MIN}})
        EXPECT_EQ(sutils::str2int(r.text, "map", 1), r.expected) << r.text;
}

TEST(Str2int, ReadsOnlyItsField) {
    const std::string line = "12 34";
    EXPECT_EQ(sutils::str2int(std::string_view(line).substr(0, 1), "map", 1), 1);
}

TEST(Str2int, OutOfRangeStopsTheRun) {
    for (const std::string text :
         {"2147483648", "-2147483649", "99999999999999999999", "-99999999999999999999", "4294967296"})
        EXPECT_TRUE(support::stops_with(
            "map.txt line 3: [" + text + "] is out of range for a position (at most 2147483647)",
            [&] { sutils::str2int(text, "map.txt", 3); }));
}

TEST(Str2double, NumberAtTheStart) {
    struct row {
        const char* text;
        double expected;
    };
    for (const row& r : {row{"0.25", 0.25}, row{"-1", -1.0}, row{"1e-3x", 1e-3}, row{"NA", 0.0},
                         row{".5", 0.5}, row{"0x10", 16.0}})
        EXPECT_EQ(sutils::str2double(r.text), r.expected) << r.text;
}

TEST(Str2double, HasTheBitsOfTheCLibrary) {
    std::mt19937_64 random(1);
    const auto expect_same = [](const std::string& text) {
        ASSERT_EQ(sutils::str2double(text), std::strtod(text.c_str(), nullptr)) << text;
    };
    for (int trial = 0; trial < 20000; ++trial) {
        std::string digits = std::to_string(random());
        digits.resize(std::min<std::size_t>(digits.size(), 1 + random() % 19));
        expect_same(digits);
        expect_same(digits.insert(random() % (digits.size() + 1), "."));
        expect_same("0.000" + digits.erase(digits.find('.'), 1));
    }
    for (const std::string text :
         {"", ".", "..", "1.", ".5", "0", "9", "-1", "+1", "1e-3", "1.5e2", "0x10", "1.2.3", "7x", "x7"})
        expect_same(text);
}

TEST(IsNumber, AcceptsWholeFields) {
    for (const char* text : {"0", "1", "12.5", "-3", "+4", ".5", "5.", "1e-3", "1E+06"})
        EXPECT_TRUE(sutils::is_number(text)) << text;
    for (const char* text :
         {"", "x", "1,5", "1.5x", "0x10", "inf", "nan", "1e999", "--1", "1 ", " 1", "-", "1e"})
        EXPECT_FALSE(sutils::is_number(text)) << text;
}

TEST(CountFields, AgreesWithTokenize) {
    std::mt19937 random(1);
    std::vector<std::string> fields;
    for (int trial = 0; trial < 2000; ++trial) {
        std::string line;
        for (auto n = random() % 90; n > 0; --n) line += " \t\rab"[random() % 5];
        ASSERT_EQ(sutils::count_fields(line), sutils::tokenize(line, fields)) << '"' << line << '"';
    }
}

TEST(FieldCursor, IsEmptyAtTheEnd) {
    const std::string line = " a\tbc \r";
    sutils::field_cursor cursor(line);
    EXPECT_EQ(cursor.next(), "a");
    EXPECT_EQ(cursor.next(), "bc");
    EXPECT_EQ(cursor.next(), "");
    EXPECT_EQ(cursor.next(), "");
}

TEST(FieldCursor, TakesThreeBitsOnlyInTheirUsualForm) {
    for (int bits = 0; bits < 8; ++bits) {
        const std::string digits = {' ', static_cast<char>('0' + (bits & 1)),
                                    ' ', static_cast<char>('0' + (bits >> 1 & 1)),
                                    ' ', static_cast<char>('0' + (bits >> 2))};
        const std::string line = digits + " 7";
        sutils::field_cursor cursor(line);
        EXPECT_EQ(cursor.next_three_bits(), bits);
        EXPECT_EQ(cursor.next(), "7");
    }
    for (const char* line :
         {"", " 1 0 0", " 1 0 0 ", "1 0 0 1 0 0", " 1 0 2 1 0", " 1 0 01 1 0", " 1 0 0.5 1", "  1 0 0 1",
          " 1\t0 0 1 0", " 1 0 0\t1 0", " 1 0 / 1 0 0", " 1 0 -1 0 0"}) {
        sutils::field_cursor cursor(line), plain(line);
        EXPECT_EQ(cursor.next_three_bits(), -1) << '"' << line << '"';
        EXPECT_EQ(cursor.next(), plain.next()) << "no field is taken";
    }
}

TEST(Str2double, ReadsOnlyItsField) {
    const std::string line = "0.5 0.25\t1";
    std::vector<std::string_view> fields;
    sutils::tokenize(line, fields);
    EXPECT_EQ(sutils::str2double(fields[0]), 0.5);
    EXPECT_EQ(sutils::str2double(fields[1]), 0.25);
    EXPECT_EQ(sutils::str2double(fields[2]), 1.0);
}

// strtod skips white space that does not separate fields, and would then read the next field.
TEST(Str2double, OtherWhiteSpaceIsNotANumber) {
    const std::string line = "\v 0.5";
    std::vector<std::string_view> fields;
    sutils::tokenize(line, fields);
    EXPECT_EQ(sutils::str2double(fields[0]), 0.0);
}

}  // namespace
