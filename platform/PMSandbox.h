#pragma once
// The process sandbox: extension tokens widen this process's file access.
#include <cstdint>
#include <span>

class PMSandbox {
public:
    virtual ~PMSandbox() = default;
    // Answers whether the token was accepted.
    virtual bool consumeSandboxExtension(std::span<const uint8_t> token) = 0;
};
