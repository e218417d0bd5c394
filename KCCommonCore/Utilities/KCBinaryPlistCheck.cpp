#include "KCBinaryPlistCheck.h"

#include "KCFormat.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

constexpr size_t kHeaderSize = 8;
constexpr size_t kTrailerSize = 32;
constexpr size_t kMaximumNesting = 64;

class BinaryPlistChecker {
public:
    explicit BinaryPlistChecker(std::span<const uint8_t> bytes)
        : m_bytes(bytes)
        // Without shared objects every node is one reference of at least a
        // byte, and every payload byte is in the input once.
        , m_nodeBudget(2 * uint64_t(bytes.size()) + 4096)
    {
    }

    std::optional<std::string> problem()
    {
        if (m_bytes.size() < kHeaderSize + 2 + kTrailerSize)
            return "it is too short to be a binary property list";
        if (m_bytes.size() > UINT32_MAX)
            return "it is too large";
        if (std::memcmp(m_bytes.data(), "bplist00", kHeaderSize) != 0)
            return "it is not a binary property list";
        if (auto problem = readTrailer())
            return problem;
        return walk();
    }

private:
    struct Object {
        uint64_t references = 0;  // offset of its reference list
        uint64_t count = 0;       // references in the list (keys and values for a dictionary)
        uint64_t nodes = 0;       // nodes and payload bytes it expands to, once walked
        enum : uint8_t { Unread, Open, Done } state = Unread;
    };

    uint64_t readBigEndian(uint64_t offset, size_t width) const
    {
        uint64_t value = 0;
        for (size_t index = 0; index < width; ++index)
            value = (value << 8) | m_bytes[offset + index];
        return value;
    }

    std::optional<std::string> readTrailer()
    {
        uint64_t trailer = m_bytes.size() - kTrailerSize;
        m_offsetWidth = m_bytes[trailer + 6];
        m_referenceWidth = m_bytes[trailer + 7];
        uint64_t count = readBigEndian(trailer + 8, 8);
        m_top = readBigEndian(trailer + 16, 8);
        m_tableOffset = readBigEndian(trailer + 24, 8);
        if (m_offsetWidth < 1 || m_offsetWidth > 8 || m_referenceWidth < 1 || m_referenceWidth > 8)
            return KCStringWithFormat("its offsets are %u bytes wide and its references %u", m_offsetWidth, m_referenceWidth);
        if (m_tableOffset < kHeaderSize + 1 || m_tableOffset >= trailer)
            return KCStringWithFormat("its offset table at %llu lies outside the data", m_tableOffset);
        if (count == 0 || count > (trailer - m_tableOffset) / m_offsetWidth)
            return KCStringWithFormat("it declares %llu objects, more than its offset table holds", count);
        if (m_top >= count)
            return KCStringWithFormat("its top object %llu is not among its %llu objects", m_top, count);
        m_objects.resize(count);
        return std::nullopt;
    }

    // Bounds-checks the object and notes its references; the bytes of every
    // object lie between the header and the offset table.
    std::optional<std::string> readObject(uint64_t index)
    {
        uint64_t start = readBigEndian(m_tableOffset + index * m_offsetWidth, m_offsetWidth);
        if (start < kHeaderSize || start >= m_tableOffset)
            return KCStringWithFormat("object %llu starts outside the data", index);
        uint64_t position = start + 1;
        uint8_t marker = m_bytes[start];
        uint8_t info = marker & 0xF;
        auto readCount = [&]() -> std::optional<uint64_t> {
            if (info != 0xF)
                return info;
            if (position >= m_tableOffset)
                return std::nullopt;
            uint8_t countMarker = m_bytes[position];
            size_t width = size_t(1) << (countMarker & 0xF);
            if ((countMarker >> 4) != 1 || width > 8 || width > m_tableOffset - position - 1)
                return std::nullopt;
            uint64_t count = readBigEndian(position + 1, width);
            position += 1 + width;
            return count;
        };
        uint64_t unit = 1;
        uint64_t referencesPerEntry = 0;
        std::optional<uint64_t> count;
        switch (marker >> 4) {
        case 0x0: count = 0; break;
        case 0x1: count = info <= 4 ? std::optional(uint64_t(1) << info) : std::nullopt; break;
        case 0x2: count = info <= 3 ? std::optional(uint64_t(1) << info) : std::nullopt; break;
        case 0x3: count = info == 3 ? std::optional(uint64_t(8)) : std::nullopt; break;
        case 0x4: case 0x5: case 0x7: count = readCount(); break;
        case 0x6: count = readCount(); unit = 2; break;
        case 0x8: count = uint64_t(info) + 1; break;
        case 0xA: case 0xC: referencesPerEntry = 1; break;
        case 0xD: referencesPerEntry = 2; break;
        default: return KCStringWithFormat("object %llu has the unknown type %x", index, unsigned(marker >> 4));
        }
        if (referencesPerEntry) {
            count = readCount();
            unit = referencesPerEntry * m_referenceWidth;
        }
        if (!count || position > m_tableOffset || *count > (m_tableOffset - position) / unit)
            return KCStringWithFormat("object %llu runs past the end of the data", index);
        m_objects[index].references = position;
        m_objects[index].count = *count * referencesPerEntry;
        m_objects[index].nodes = 1 + (referencesPerEntry ? 0 : *count * unit);
        return std::nullopt;
    }

    template <typename Frame>
    bool addNodes(Frame& frame, uint64_t nodes) const
    {
        frame.nodes = std::min(frame.nodes + nodes, m_nodeBudget + 1);
        return frame.nodes <= m_nodeBudget;
    }

    std::string overBudget() const
    {
        return KCStringWithFormat("its shared objects would expand to more than %llu nodes and bytes", m_nodeBudget);
    }

    // Depth-first from the top object, as the parser goes: finds cycles and
    // counts the nodes and bytes that copying every shared object would make.
    std::optional<std::string> walk()
    {
        struct Frame {
            uint64_t index;
            uint64_t next = 0;
            uint64_t nodes;
        };
        std::vector<Frame> stack;
        auto open = [&](uint64_t index) -> std::optional<std::string> {
            if (stack.size() >= kMaximumNesting)
                return KCStringWithFormat("its objects are nested more than %llu deep", uint64_t(kMaximumNesting));
            if (auto problem = readObject(index))
                return problem;
            m_objects[index].state = Object::Open;
            stack.push_back({index, 0, m_objects[index].nodes});
            return std::nullopt;
        };
        if (auto problem = open(m_top))
            return problem;
        while (!stack.empty()) {
            Frame& frame = stack.back();
            Object& object = m_objects[frame.index];
            if (frame.next == object.count) {
                object.nodes = frame.nodes;
                object.state = Object::Done;
                stack.pop_back();
                if (!stack.empty() && !addNodes(stack.back(), object.nodes))
                    return overBudget();
                continue;
            }
            uint64_t child = readBigEndian(object.references + frame.next * m_referenceWidth, m_referenceWidth);
            ++frame.next;
            if (child >= m_objects.size())
                return KCStringWithFormat("object %llu refers to the missing object %llu", frame.index, child);
            Object& target = m_objects[child];
            if (target.state == Object::Open)
                return KCStringWithFormat("object %llu contains itself", child);
            if (target.state == Object::Done) {
                if (!addNodes(frame, target.nodes))
                    return overBudget();
                continue;
            }
            if (auto problem = open(child))
                return problem;
        }
        return std::nullopt;
    }

    std::span<const uint8_t> m_bytes;
    uint64_t m_nodeBudget;
    unsigned m_offsetWidth = 0;
    unsigned m_referenceWidth = 0;
    uint64_t m_top = 0;
    uint64_t m_tableOffset = 0;
    std::vector<Object> m_objects;
};

} // namespace

std::optional<std::string> KCBinaryPlistProblem(std::span<const uint8_t> bytes)
{
    return BinaryPlistChecker(bytes).problem();
}
