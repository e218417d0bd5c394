#include "PMColorAdditions.h"

KCColor colorWithHexValue(uint64_t value)
{
    auto component = [value](int shift) { return static_cast<double>(static_cast<float>((value >> shift) & 0xFF) / 255.0f); };
    return KCColor(component(16), component(8), component(0), 1.0, KCColorSpace::DeviceRGB);
}
