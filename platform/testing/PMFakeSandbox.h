#pragma once
// A sandbox that records the extension tokens it was handed, in order.
#include "platform/PMSandbox.h"

#include <vector>

class PMFakeSandbox final : public PMSandbox {
public:
    bool consumeSandboxExtension(std::span<const uint8_t> token) override
    {
        m_consumed.emplace_back(token.begin(), token.end());
        return true;
    }
    const std::vector<std::vector<uint8_t>>& consumedTokens() const { return m_consumed; }

private:
    std::vector<std::vector<uint8_t>> m_consumed;
};
