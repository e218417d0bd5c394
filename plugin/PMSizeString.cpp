#include "PMSizeString.h"

#include <charconv>
#include <cmath>

namespace {

std::string numberText(double value)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value > 0 ? "inf" : "-inf";
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

// Skips to the next number and reads it; 0 when none is left.
double readNumber(std::string_view& text)
{
    while (!text.empty()) {
        char c = text.front();
        bool starts = (c >= '0' && c <= '9') || c == '-' || c == '.';
        if (starts) {
            double value = 0;
            auto result = std::from_chars(text.data(), text.data() + text.size(), value);
            if (result.ec != std::errc::invalid_argument) {
                text.remove_prefix(static_cast<size_t>(result.ptr - text.data()));
                if (result.ec == std::errc::result_out_of_range)
                    return 0;
                return value;
            }
        }
        text.remove_prefix(1);
    }
    return 0;
}

} // namespace

std::string PMStringFromSize(const KCSize& size)
{
    // Appended piece by piece: GCC 12 at -O3 misreads `"{" + std::string` as
    // an overlapping copy (-Wrestrict).
    std::string text = "{";
    text += numberText(size.width);
    text += ", ";
    text += numberText(size.height);
    text += '}';
    return text;
}

KCSize PMSizeFromString(std::string_view text)
{
    double width = readNumber(text);
    double height = readNumber(text);
    return {width, height};
}
