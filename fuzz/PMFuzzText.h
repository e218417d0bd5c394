#pragma once
// UTF-16 text from fuzz bytes: a byte below 0x80 picks a unit from the
// target's alphabet, any other byte starts a raw unit of two bytes (lone
// surrogates included).
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

inline std::u16string PMFuzzUTF16(std::string_view bytes, std::span<const char16_t> alphabet)
{
    std::u16string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        auto byte = static_cast<uint8_t>(bytes[i]);
        if (byte < 0x80 || i + 1 == bytes.size())
            text.push_back(alphabet[byte % alphabet.size()]);
        else
            text.push_back(static_cast<char16_t>(byte << 8 | static_cast<uint8_t>(bytes[++i])));
    }
    return text;
}
