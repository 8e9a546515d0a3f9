#include <gtest/gtest.h>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/transform.h"

using namespace kivu;

TEST(SvgTransform, ListsBecomeCmOperatorsInSourceOrder) {
    const struct {
        const char* list;
        float scale;
        const char* ops;
    } cases[] = {
        {"translate(10)", 1, " 1 0 0 1 10.000 0.000 cm "},
        {"translate(10,20)", 1, " 1 0 0 1 10.000 -20.000 cm "},
        {"translate(10 20 30)", 0.5f, " 1 0 0 1 5.000 0.000 cm "},
        {"scale(2)", 0.5f, " 2.000 0 0 2.000 0 0 cm "},
        {"scale(2 3)", 1, " 2.000 0 0 3.000 0 0 cm "},
        {"rotate(90)", 1, " 0.000 -1.000 1.000 0.000 0 0 cm "},
        {"rotate(90 10 20)", 1,
         " 1 0 0 1 10.000 -20.000 cm  0.000 -1.000 1.000 0.000 0 0 cm  1 0 0 1 -10.000 20.000 cm "},
        {"matrix(1 2 3 4 5 6)", 2, " 1.000 -2.000 -3.000 4.000 10.000 -12.000 cm "},
        {"matrix(1 0 0 1 5)", 1, ""},
        {"skewX(45)", 1, " 1 0 -1.000 1 0 0 cm "},
        {"skewY(45)", 1, " 1 -1.000 0 1 0 0 cm "},
        {"translate(1,2) scale(3)", 1, " 1 0 0 1 1.000 -2.000 cm  3.000 0 0 3.000 0 0 cm "},
        {"SCALE(2)", 1, " 2.000 0 0 2.000 0 0 cm "},
        {"foo(1) scale(2)", 1, " 2.000 0 0 2.000 0 0 cm "},
        {"rotate()", 1, ""},
    };
    for (const auto& c : cases) EXPECT_EQ(transformationsToPDF(c.list, c.scale), c.ops) << c.list;
}

TEST(SvgTransform, ArgumentsThatAreNoNumbersRaise) {
    for (const char* list : {"translate(10px)", "translate( 10)", "rotate(a)", "scale(1e999)"})
        EXPECT_THROW(transformationsToPDF(list, 1), KivuException) << list;
}
