#include <gtest/gtest.h>

#include <limits>

#include "kivuimg/commons/content.h"

using namespace kivu;

TEST(ContentWriter, NumbersOperatorsAndSeparators) {
    TMemory line(64, 0), lines(64, 0);
    TContent(line).moveTo(1.0f, -0.0f).lineTo(2.5, 1e-4).curveTo(1, 2, 3, 4, 5, 6).closePath();
    EXPECT_EQ(line.to_string(), "1.000 -0.000 m 2.500 0.000 l 1.000 2.000 3.000 4.000 5.000 6.000 c h ");
    TContent(lines, '\n').moveTo(3, -4).lineTo(int16_t(-32768), int16_t(7)).op("s");
    EXPECT_EQ(lines.to_string(), "3 -4 m\n-32768 7 l\ns\n");
}

TEST(ContentWriter, RoundsAsPrintfAndNeverWritesNanOrInf) {
    TMemory m(64, 0);
    TContent out(m);
    out.num(0.0005).num(2.0005f).num(-1.2345, 2).num(0.5, 4);
    out.num(std::numeric_limits<double>::quiet_NaN()).num(std::numeric_limits<float>::infinity());
    char expected[128];
    std::snprintf(expected, sizeof expected, "%.3f %.3f %.2f %.4f 0.000 0.000 ", 0.0005, double(2.0005f), -1.2345, 0.5);
    EXPECT_EQ(m.to_string(), expected);
}

TEST(ContentWriter, CountsTheNestingOfSaves) {
    TMemory m(64, 0);
    TContent out(m);
    out.save(" q ").save("q ").restore("Q\n");
    EXPECT_EQ(out.depth(), 1);
    out.restore(" Q\n");
    EXPECT_EQ(out.depth(), 0);
    EXPECT_EQ(m.to_string(), " q q Q\n Q\n");
}
