#include "PMBookNavigation.h"

#include "PMBook.h"
#include "PMBookError.h"
#include "PMBookXML.h"
#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"

#include <glib.h>

#include <charconv>
#include <unordered_map>

namespace {

constexpr std::string_view kNCXMediaType = "application/x-dtbncx+xml";

// Where a navigation target lies: the spine item of its file, or, for a
// target in the package document itself, the spine item its CFI fragment names.
class TargetResolver {
public:
    TargetResolver(const PMPackage& package, const std::string& packagePath, const std::string& documentPath)
        : m_packagePath(packagePath)
        , m_base(PMContainerDirectoryOf(documentPath))
        , m_spineCount(package.spine.size())
    {
        for (size_t index = package.spine.size(); index-- > 0;)
            m_spineIndexes[package.spine[index].path] = index;  // the first itemref of a file wins
    }

    std::optional<PMNavigationEntry> entry(std::string title, std::string_view href) const
    {
        PMNavigationEntry entry {std::move(title), PMResolveContainerPath(m_base, href), std::nullopt};
        if (entry.path.empty() || entry.title.empty()) {
            KCLog("Skipping the navigation entry \u201C%@\u201D: it has no title or its target \u201C%@\u201D is outside the book", entry.title, std::string(href));
            return std::nullopt;
        }
        if (auto found = m_spineIndexes.find(entry.path); found != m_spineIndexes.end())
            entry.spineIndex = found->second;
        else if (entry.path == m_packagePath && href.find('#') != std::string_view::npos)
            entry.spineIndex = PMSpineIndexFromCFI(fragment(href));
        if (entry.spineIndex >= m_spineCount)
            entry.spineIndex.reset();  // a CFI past the spine's end
        return entry;
    }

private:
    static std::string fragment(std::string_view href)
    {
        std::string raw(href.substr(href.find('#') + 1));
        char* decoded = g_uri_unescape_string(raw.c_str(), nullptr);
        std::string text = decoded ? decoded : raw;
        g_free(decoded);
        return text;
    }

    std::string m_packagePath;
    std::string m_base;
    size_t m_spineCount;
    std::unordered_map<std::string, size_t> m_spineIndexes;
};

// The links of an XHTML nav element's list, in document order.
std::vector<PMNavigationEntry> navEntries(const xmlNode* nav, const TargetResolver& resolver)
{
    std::vector<PMNavigationEntry> entries;
    PMXMLForEachDescendant(PMXMLFirstChild(nav, "ol"), "a", [&](const xmlNode* link) {
        if (auto entry = resolver.entry(PMXMLCollapsedText(link), PMXMLAttribute(link, "href")))
            entries.push_back(std::move(*entry));
    });
    return entries;
}

// navPoint or pageTarget elements of an NCX, in document order.
std::vector<PMNavigationEntry> ncxEntries(const xmlNode* parent, const char* elementName, const TargetResolver& resolver)
{
    std::vector<PMNavigationEntry> entries;
    PMXMLForEachDescendant(parent, elementName, [&](const xmlNode* point) {
        std::string title = PMXMLCollapsedText(PMXMLFirstChild(PMXMLFirstChild(point, "navLabel"), "text"));
        if (auto entry = resolver.entry(std::move(title), PMXMLAttribute(PMXMLFirstChild(point, "content"), "src")))
            entries.push_back(std::move(*entry));
    });
    return entries;
}

const PMManifestItem* navigationDocument(const PMPackage& package, bool ncx)
{
    for (const auto& item : package.manifest) {
        bool isNav = PMXMLListHasToken(item.properties, "nav");
        bool isNCX = package.spineToc.empty() ? item.mediaType == kNCXMediaType : item.identifier == package.spineToc;
        if (ncx ? isNCX : isNav)
            return &item;
    }
    return nullptr;
}

// A page label as a page number: whole decimal digits only.
std::optional<uint64_t> pageNumber(const std::string& label)
{
    uint64_t number = 0;
    auto [end, failure] = std::from_chars(label.data(), label.data() + label.size(), number);
    if (failure != std::errc() || end != label.data() + label.size() || number >= KCNotFound)
        return std::nullopt;
    return number;
}

} // namespace

std::optional<size_t> PMSpineIndexFromCFI(std::string_view cfi)
{
    auto notACFI = [cfi]() -> std::optional<size_t> {
        KCLog("\u201C%@\u201D is not a book location with a spine step", std::string(cfi));
        return std::nullopt;
    };
    constexpr std::string_view prefix = "epubcfi(/6/";
    if (!cfi.starts_with(prefix) || !cfi.ends_with(')'))
        return notACFI();
    std::string_view rest = cfi.substr(prefix.size(), cfi.size() - prefix.size() - 1);
    size_t step = 0;
    auto [end, failure] = std::from_chars(rest.data(), rest.data() + rest.size(), step);
    if (failure != std::errc() || step < 2 || step % 2 != 0)
        return notACFI();
    rest.remove_prefix(static_cast<size_t>(end - rest.data()));
    if (rest.starts_with('[')) {
        // An id assertion; "^" escapes the character after it.
        size_t close = 1;
        while (close < rest.size() && rest[close] != ']')
            close += rest[close] == '^' ? 2 : 1;
        if (close >= rest.size())
            return notACFI();
        rest.remove_prefix(close + 1);
    }
    if (!rest.empty() && rest.front() != '!' && rest.front() != ',')
        return notACFI();
    return step / 2 - 1;
}

std::optional<PMBookNavigation> PMBookNavigation::open(const PMBook& book, KCError* error)
{
    KCError failure = PMBookError(PMBookErrorCode::MissingFile, "The book has no navigation document");
    // The NCX stands in for a nav that is missing or does not parse.
    for (bool ncx : {false, true}) {
        const PMManifestItem* document = navigationDocument(book.package(), ncx);
        auto xml = document ? book.readFile(document->path, &failure) : std::nullopt;
        if (auto navigation = xml ? parse(*xml, document->path, book.package(), book.packagePath(), &failure) : std::nullopt)
            return navigation;
    }
    KCLog("No chapter titles or pages for the book: %@", failure.description());
    KCSetError(error, std::move(failure));
    return std::nullopt;
}

std::optional<PMBookNavigation> PMBookNavigation::parse(std::string_view documentXML, const std::string& documentPath, const PMPackage& package,
    const std::string& packagePath, KCError* error)
{
    PMXMLDocument document = PMParseBookXML(documentXML, documentPath.c_str());
    const xmlNode* root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    PMBookNavigation navigation;
    navigation.m_spineCount = package.spine.size();
    TargetResolver resolver(package, packagePath, documentPath);
    if (PMXMLIsElement(root, "ncx")) {
        navigation.m_tableOfContents = ncxEntries(PMXMLFirstChild(root, "navMap"), "navPoint", resolver);
        navigation.m_pageList = ncxEntries(PMXMLFirstChild(root, "pageList"), "pageTarget", resolver);
        return navigation;
    }
    if (!PMXMLIsElement(root, "html")) {
        std::string description = KCStringWithFormat("The navigation document \u201C%@\u201D cannot be read", documentPath);
        KCLog("%@", description);
        KCSetError(error, PMBookError(PMBookErrorCode::MalformedXML, description));
        return std::nullopt;
    }
    const xmlNode* toc = nullptr;
    const xmlNode* pageList = nullptr;
    PMXMLForEachDescendant(root, "nav", [&](const xmlNode* nav) {
        if (!toc && PMXMLListHasToken(PMXMLAttribute(nav, "type"), "toc"))
            toc = nav;
        if (!pageList && PMXMLListHasToken(PMXMLAttribute(nav, "type"), "page-list"))
            pageList = nav;
    });
    navigation.m_tableOfContents = navEntries(toc, resolver);
    navigation.m_pageList = navEntries(pageList, resolver);
    return navigation;
}

std::optional<size_t> PMBookNavigation::spineIndexInRange(std::string_view cfi) const
{
    auto index = PMSpineIndexFromCFI(cfi);
    if (index && *index >= m_spineCount) {
        KCLog("The location \u201C%@\u201D names spine item %zu of %zu", std::string(cfi), *index, m_spineCount);
        return std::nullopt;
    }
    return index;
}

std::optional<std::string> PMBookNavigation::chapterTitleForLocation(std::string_view cfi) const
{
    // A book without a table of contents has nothing to say of any location.
    if (m_tableOfContents.empty())
        return std::nullopt;
    auto index = spineIndexInRange(cfi);
    if (!index)
        return std::nullopt;
    // The item's own first entry; else an earlier item's last entry, whose chapter goes on here.
    for (size_t item = *index + 1; item-- > 0;) {
        const PMNavigationEntry* found = nullptr;
        for (const auto& entry : m_tableOfContents) {
            if (entry.spineIndex != item)
                continue;
            found = &entry;
            if (item == *index)
                break;
        }
        if (found)
            return found->title;
    }
    return std::nullopt;
}

KCRange PMBookNavigation::pageRangeForLocation(std::string_view cfi) const
{
    KCRange pages;
    if (m_pageList.empty())
        return pages;
    auto index = spineIndexInRange(cfi);
    if (!index)
        return pages;
    for (const auto& target : m_pageList) {
        auto number = target.spineIndex == index ? pageNumber(target.title) : std::nullopt;
        if (!number)
            continue;
        if (!pages.found())
            pages.location = *number;
        ++pages.length;
    }
    return pages;
}
