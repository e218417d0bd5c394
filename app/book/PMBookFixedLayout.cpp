#include "PMBookFixedLayout.h"

#include "PMBookXML.h"
#include "Utilities/KCFormat.h"

#include <glib.h>

#include <cmath>

namespace {

PMPageSpread spreadNamed(std::string_view name, PMPageSpread otherwise)
{
    if (name == "none")
        return PMPageSpread::None;
    if (name == "both" || name == "portrait")  // "portrait" spreads show in both orientations
        return PMPageSpread::Both;
    if (name == "landscape" || name == "auto")
        return PMPageSpread::Landscape;
    return otherwise;
}

} // namespace

PMSpineRendition PMSpineItemRendition(const PMPackage& package, size_t spineIndex)
{
    PMSpineRendition rendition;
    rendition.prePaginated = package.layout == "pre-paginated";
    rendition.spread = spreadNamed(package.spread, rendition.spread);
    if (spineIndex >= package.spine.size())
        return rendition;
    const std::string& properties = package.spine[spineIndex].properties;
    if (PMXMLListHasToken(properties, "rendition:layout-pre-paginated"))
        rendition.prePaginated = true;
    if (PMXMLListHasToken(properties, "rendition:layout-reflowable"))
        rendition.prePaginated = false;
    for (std::string_view name : {"none", "landscape", "both", "portrait", "auto"}) {
        if (PMXMLListHasToken(properties, "rendition:spread-" + std::string(name)))
            rendition.spread = spreadNamed(name, rendition.spread);
    }
    if (PMXMLListHasToken(properties, "page-spread-left") || PMXMLListHasToken(properties, "rendition:page-spread-left"))
        rendition.side = PMPageSide::Left;
    if (PMXMLListHasToken(properties, "page-spread-right") || PMXMLListHasToken(properties, "rendition:page-spread-right"))
        rendition.side = PMPageSide::Right;
    return rendition;
}

bool PMPackageIsRightToLeft(const PMPackage& package)
{
    return package.pageProgressionDirection == "rtl";
}

std::optional<KCSize> PMViewportSizeOfDocument(std::string_view documentXML)
{
    PMXMLDocument document = PMParseBookXML(documentXML, "content document");
    std::optional<KCSize> found;
    PMXMLForEachDescendant(document ? xmlDocGetRootElement(document.get()) : nullptr, "meta", [&](const xmlNode* meta) {
        if (found || g_ascii_strcasecmp(PMXMLAttribute(meta, "name").c_str(), "viewport") != 0)
            return;
        KCSize size;
        // "width=600, height=837": pairs apart by commas or semicolons.
        gchar** pairs = g_strsplit_set(PMXMLAttribute(meta, "content").c_str(), ",;", -1);
        for (gchar** pair = pairs; *pair; ++pair) {
            std::string_view text = *pair;
            size_t equals = text.find('=');
            if (equals == std::string_view::npos)
                continue;
            std::string name(text.substr(0, equals));
            g_strstrip(name.data());
            name.resize(std::char_traits<char>::length(name.c_str()));
            double value = KCLeadingDoubleValue(text.substr(equals + 1));
            if (name == "width")
                size.width = value;
            else if (name == "height")
                size.height = value;
        }
        g_strfreev(pairs);
        if (size.width > 0 && size.height > 0 && std::isfinite(size.width) && std::isfinite(size.height))
            found = size;
    });
    return found;
}
