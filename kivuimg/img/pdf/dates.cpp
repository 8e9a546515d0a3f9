#include "kivuimg/img/pdf/dates.h"

#include <cctype>
#include <ctime>

#include "kivuimg/commons/core/cstr.h"

namespace kivu::pdf {

std::string pdfDateNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char stamp[32], zone[8];
    std::strftime(stamp, sizeof stamp, "D:%Y%m%d%H%M%S", &local);
    std::strftime(zone, sizeof zone, "%z", &local);
    std::string z = zone;
    if (z.size() == 5) return std::string(stamp) + z.substr(0, 3) + "'" + z.substr(3) + "'";
    return std::string(stamp) + "Z";
}

namespace {

// Reads `count` digits at `at` into `field` when they are there; the range
// is checked.
class TDateReader {
public:
    explicit TDateReader(const std::string& text) : t_(text) {}
    bool digits(size_t count, int low, int high, std::string& field) {
        if (at_ + count > t_.size()) return false;
        int v = 0;
        for (size_t i = 0; i < count; ++i) {
            if (!std::isdigit(static_cast<unsigned char>(t_[at_ + i]))) return false;
            v = v * 10 + (t_[at_ + i] - '0');
        }
        if (v < low || v > high) return false;
        field = t_.substr(at_, count);
        at_ += count;
        return true;
    }
    bool take(char c) {
        if (at_ < t_.size() && t_[at_] == c) return ++at_, true;
        return false;
    }
    bool takeAny(const char* set) {
        for (; *set; ++set)
            if (take(*set)) return true;
        return false;
    }
    void skipFraction() {
        if (take('.') || take(','))
            while (at_ < t_.size() && std::isdigit(static_cast<unsigned char>(t_[at_]))) ++at_;
    }
    bool done() const { return at_ == t_.size(); }

private:
    const std::string& t_;
    size_t at_ = 0;
};

// "Z", "+01:00", "+0100", "+01" or nothing, as PDF writes it.
bool zone(TDateReader& r, std::string& out) {
    if (r.done()) return true;
    if (r.take('Z') || r.take('z')) return out = "Z", r.done();
    const bool plus = r.take('+');
    if (!plus && !r.take('-')) return false;
    std::string hh, mm = "00";
    if (!r.digits(2, 0, 23, hh)) return false;
    r.take(':');
    if (!r.done() && !r.digits(2, 0, 59, mm)) return false;
    out = std::string(plus ? "+" : "-") + hh + "'" + mm + "'";
    return r.done();
}

bool isoDate(const std::string& text, std::string& out) {
    TDateReader r(text);
    std::string y, mo = "01", d = "01", h = "00", mi = "00", s = "00", z;
    if (!r.digits(4, 0, 9999, y)) return false;
    if (r.take('-') && (!r.digits(2, 1, 12, mo) || (r.take('-') && !r.digits(2, 1, 31, d)))) return false;
    if (r.takeAny("T ")) {
        if (!r.digits(2, 0, 23, h) || !r.take(':') || !r.digits(2, 0, 59, mi)) return false;
        if (r.take(':') && !r.digits(2, 0, 60, s)) return false;
        r.skipFraction();
    }
    if (!zone(r, z)) return false;
    out = "D:" + y + mo + d + h + mi + s + z;
    return true;
}

// "D:YYYY" up to "D:YYYYMMDDHHmmSSOHH'mm'", each part optional from the month on.
bool isPdfDate(const std::string& text) {
    if (text.rfind("D:", 0) != 0) return false;
    TDateReader r(text);
    std::string field;
    r.take('D'), r.take(':');
    if (!r.digits(4, 0, 9999, field)) return false;
    const struct {
        int low, high;
    } parts[] = {{1, 12}, {1, 31}, {0, 23}, {0, 59}, {0, 60}};
    for (const auto& p : parts)
        if (!r.digits(2, p.low, p.high, field)) break;
    if (r.done()) return true;
    if (r.take('Z')) return r.done() || (r.digits(2, 0, 0, field) && r.take('\'') && r.digits(2, 0, 0, field) &&
                                         (r.take('\''), r.done()));
    if (!r.takeAny("+-") || !r.digits(2, 0, 23, field)) return false;
    if (r.done()) return true;
    if (!r.take('\'') || !r.digits(2, 0, 59, field)) return r.done();
    r.take('\'');
    return r.done();
}

}  // namespace

std::string pdfDate(const std::string& text) {
    const std::string t = strip(text);
    std::string out;
    if (isPdfDate(t)) return t;
    if (isoDate(t, out)) return out;
    throwf("'%s' is no date (ISO 8601, e.g. 2026-11-24T09:30:00Z, or D:...)", text.c_str());
}

}  // namespace kivu::pdf
