#pragma once
// The common library's resource bundle: templates, the style sheet, the
// string table and the object model, compiled into the library at build time
// and looked up by name and type. A reader that wants its own resources names
// a directory in PAGEMOOR_RESOURCES_DIR; a file there wins over the built-in one.
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

class KCBundle {
public:
    // The built-in resources, overridden by the files of overrideDirectory when given.
    explicit KCBundle(std::optional<std::string> overrideDirectory);

    // The bytes of resource NAME.TYPE ("TNAssetShare", "css"), or nothing.
    // An empty type names the file NAME itself.
    std::optional<std::string> resourceData(std::string_view name, std::string_view type) const;
    // The string table's text for an English key; the key itself when the table lacks it.
    std::u16string localizedString(std::u16string_view key) const;

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::u16string_view s) const { return std::hash<std::u16string_view>()(s); }
    };

    std::optional<std::string> m_overrideDirectory;
    std::unordered_map<std::u16string, std::u16string, Hash, std::equal_to<>> m_strings;
};

// Created once, thread-safely, on first use; reads PAGEMOOR_RESOURCES_DIR then.
const KCBundle& KCCommonCoreBundle();
