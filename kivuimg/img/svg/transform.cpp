#include "kivuimg/img/svg/transform.h"

#include <cmath>
#include <vector>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"

namespace kivu {

namespace {

constexpr double kPi = 3.141592653589793;

// Degrees to radians with the sign turned, as the y reflection turns angles.
double reflectedAngle(float degrees) { return degrees * kPi / -180.0; }

void matrix(TContent& out, const std::vector<float>& a, float s) {
    if (a.size() != 6) return;
    out.raw(" ").num(a[0]).num(-a[1]).num(-a[2]).num(a[3]).num(a[4] * s).num(-a[5] * s).raw("cm ");
}

void translate(TContent& out, float x, float y) { out.raw(" 1 0 0 1 ").num(x).num(y).raw("cm "); }

void rotation(TContent& out, double t) {
    out.raw(" ").num(std::cos(t)).num(std::sin(t)).num(-std::sin(t)).num(std::cos(t)).raw("0 0 cm ");
}

void rotate(TContent& out, const std::vector<float>& a, float s) {
    const double t = reflectedAngle(a[0]);
    if (a.size() != 3) return rotation(out, t);
    translate(out, a[1] * s, -a[2] * s);
    rotation(out, t);
    translate(out, -a[1] * s, a[2] * s);
}

void apply(TContent& out, const std::string& name, const std::vector<float>& a, float s) {
    if (name == "matrix") return matrix(out, a, s);
    if (a.empty()) return;
    if (name == "translate") return translate(out, a[0] * s, a.size() == 2 ? -a[1] * s : 0.0f);
    if (name == "scale") {
        const float sy = a.size() == 2 ? a[1] : a[0];
        out.raw(" ").num(a[0]).raw("0 0 ").num(sy).raw("0 0 cm ");
    } else if (name == "rotate") {
        rotate(out, a, s);
    } else if (name == "skewx") {
        out.raw(" 1 0 ").num(std::tan(reflectedAngle(a[0]))).raw("1 0 0 cm ");
    } else if (name == "skewy") {
        out.raw(" 1 ").num(std::tan(reflectedAngle(a[0]))).raw("0 1 0 0 cm ");
    }
}

}  // namespace

std::string transformationsToPDF(std::string_view text, float scale) {
    static const Regex kFunction("(matrix|translate|scale|rotate|skewX|skewY)\\((.*?)\\)",
                                 Regex::Caseless | Regex::DotAll);
    TMemory memory(256, 0);
    TContent out(memory);
    for (const Regex::Match& m : kFunction.findAll(text)) {
        std::vector<float> args;
        for (const std::string& piece : regSplit("[ ,]+", m.group(2), "")) args.push_back(toFloat(piece));
        apply(out, toLower(m.group(1)), args, scale);
    }
    return memory.to_string();
}

}  // namespace kivu
