#include "KCBase64.h"

#include "KCLogger.h"

#include <array>
#include <cstring>

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kInvalid = 127;

const std::array<uint8_t, 256>& reverseTable()
{
    static const std::array<uint8_t, 256> table = [] {
        std::array<uint8_t, 256> made;
        made.fill(kInvalid);
        for (uint8_t index = 0; index < 64; ++index)
            made[static_cast<uint8_t>(kAlphabet[index])] = index;
        return made;
    }();
    return table;
}

// The fast loop's tables: the value of an alphabet character already shifted
// to its place in a 24-bit group; any other character sets the top byte.
using ShiftedTable = std::array<uint32_t, 256>;
const std::array<ShiftedTable, 4>& shiftedTables()
{
    static const auto tables = [] {
        std::array<ShiftedTable, 4> made;
        const auto& table = reverseTable();
        for (int place = 0; place < 4; ++place) {
            for (size_t code = 0; code < 256; ++code)
                made[place][code] = table[code] == kInvalid ? 0xFF000000u : uint32_t(table[code]) << (18 - 6 * place);
        }
        return made;
    }();
    return tables;
}

bool isSkipped(unsigned unit)
{
    return unit == '=' || unit == ' ' || (unit >= '\t' && unit <= '\r');
}

void putGroup(uint8_t*& write, uint32_t bits)
{
    write[0] = static_cast<uint8_t>(bits >> 16);
    write[1] = static_cast<uint8_t>(bits >> 8);
    write[2] = static_cast<uint8_t>(bits);
    write += 3;
}

// One decoder for byte and UTF-16 text. The hot loop takes four alphabet
// characters at a time; anything else goes through the careful path.
template <typename Unit>
std::optional<KCData> decode(std::basic_string_view<Unit> text)
{
    using Code = std::make_unsigned_t<Unit>;
    const auto& table = reverseTable();
    const auto& shifted = shiftedTables();
    // Units past ASCII are never in the alphabet; 0x100 keeps them apart from kInvalid.
    auto valueOf = [&table](Code code) -> unsigned { return code < 128 ? table[code] : 0x100u; };

    KCData out(text.size() / 4 * 3 + 3);
    uint8_t* write = out.data();
    const Unit* read = text.data();
    const Unit* end = read + text.size();
    uint32_t group = 0;
    int count = 0;
    while (read < end) {
        if (count == 0) {
            for (; end - read >= 4; read += 4) {
                Code a = Code(read[0]), b = Code(read[1]), c = Code(read[2]), d = Code(read[3]);
                if constexpr (sizeof(Unit) > 1) {
                    if ((a | b | c | d) > 0xFF)
                        break;
                }
                uint32_t bits = shifted[0][a] | shifted[1][b] | shifted[2][c] | shifted[3][d];
                if (bits >> 24)
                    break;
                putGroup(write, bits);
            }
            if (read == end)
                break;
        }
        Code code = Code(*read++);
        unsigned value = valueOf(code);
        if (value >= 64) {
            if (value == kInvalid && isSkipped(code))
                continue;
            KCLog(value == kInvalid ? "Invalid base64 character 0x%x" : "Non-ASCII unit 0x%x in base64 text", unsigned(code));
            return std::nullopt;
        }
        group = group << 6 | value;
        if (++count == 4) {
            putGroup(write, group);
            group = 0;
            count = 0;
        }
    }
    switch (count) {
    case 1:
        KCLog("Base64 text ends with a lone character");
        return std::nullopt;
    case 2:
        *write++ = static_cast<uint8_t>(group >> 4);
        break;
    case 3:
        *write++ = static_cast<uint8_t>(group >> 10);
        *write++ = static_cast<uint8_t>(group >> 2);
        break;
    }
    out.resize(static_cast<size_t>(write - out.data()));
    return out;
}

} // namespace

std::string KCBase64Encoding(std::span<const uint8_t> data)
{
    std::string out((data.size() + 2) / 3 * 4, '=');
    const uint8_t* read = data.data();
    const uint8_t* end = read + data.size() / 3 * 3;
    char* write = out.data();
    // Two characters a lookup: twelve bits of input at a time.
    static const auto pairs = [] {
        std::array<std::array<char, 2>, 4096> made;
        for (size_t bits = 0; bits < made.size(); ++bits)
            made[bits] = {kAlphabet[bits >> 6], kAlphabet[bits & 63]};
        return made;
    }();
    for (; read < end; read += 3, write += 4) {
        uint32_t bits = uint32_t(read[0]) << 16 | uint32_t(read[1]) << 8 | read[2];
        std::memcpy(write, pairs[bits >> 12].data(), 2);
        std::memcpy(write + 2, pairs[bits & 0xFFF].data(), 2);
    }
    size_t rest = data.size() % 3;
    if (rest) {
        uint32_t bits = uint32_t(read[0]) << 16 | (rest == 2 ? uint32_t(read[1]) << 8 : 0);
        write[0] = kAlphabet[bits >> 18];
        write[1] = kAlphabet[(bits >> 12) & 63];
        if (rest == 2)
            write[2] = kAlphabet[(bits >> 6) & 63];
    }
    return out;
}

std::optional<KCData> KCDataWithBase64EncodedString(std::u16string_view string)
{
    return decode(string);
}

std::optional<KCData> KCDataWithBase64EncodedString(std::string_view ascii)
{
    return decode(ascii);
}

std::optional<KCData> KCDataWithBase64EncodedString(const std::u16string* string)
{
    if (!string)
        return std::nullopt;
    return decode(std::u16string_view(*string));
}
