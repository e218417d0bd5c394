#pragma once
// The common library's resource bundle: templates, the style sheet, the
// string table and the object model, compiled into the library at build time
// and looked up by name and type. A reader that wants its own resources names
// a directory in PAGEMOOR_RESOURCES_DIR; a file there wins over the built-in one.
#include <optional>
#include <string>
#include <string_view>

class KCBundle {
public:
    // The bytes of resource NAME.TYPE ("AssetShare", "html"), or nothing.
    std::optional<std::string> resourceData(std::string_view name, std::string_view type) const;
    // The string table's text for an English key; the key itself when the table lacks it.
    std::u16string localizedString(std::u16string_view key) const;

    struct State;
    explicit KCBundle(const State& state) : m_state(state) {}

private:
    const State& m_state;
};

// Created once, thread-safely, on first use.
const KCBundle& KCCommonCoreBundle();
