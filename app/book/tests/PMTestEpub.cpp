#include "PMTestEpub.h"

#include "epubwriter/PMEpubWriter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

std::string relativeTo(const std::string& directory, const std::string& path)
{
    return path.starts_with(directory) ? path.substr(directory.size()) : path;
}

std::string packageDirectory(const std::string& packagePath)
{
    size_t slash = packagePath.rfind('/');
    return slash == std::string::npos ? "" : packagePath.substr(0, slash + 1);
}

} // namespace

std::string PMTestEpub::packageDocument() const
{
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<package xmlns=\"http://www.idpf.org/2007/opf\" version=\"3.0\" unique-identifier=\"book-id\">\n"
        << "  <metadata xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n";
    for (const auto& other : otherIdentifiers)
        xml << "    <dc:identifier id=\"other\">" << other << "</dc:identifier>\n";
    xml << "    <dc:identifier id=\"book-id\">" << uniqueIdentifier << "</dc:identifier>\n"
        << "    <dc:title>" << title << "</dc:title>\n"
        << "    <dc:creator>" << creator << "</dc:creator>\n"
        << "    <dc:language>" << language << "</dc:language>\n"
        << "  </metadata>\n  <manifest>\n";
    std::string base = packageDirectory(packagePath);
    for (size_t i = 0; i < files.size(); ++i) {
        std::string href = files[i].href.empty() ? relativeTo(base, files[i].path) : files[i].href;
        xml << "    <item id=\"item" << i << "\" href=\"" << href << "\" media-type=\"" << files[i].mediaType << "\"/>\n";
    }
    xml << "  </manifest>\n  <spine>\n";
    for (size_t i = 0; i < files.size(); ++i) {
        if (files[i].inSpine)
            xml << "    <itemref idref=\"item" << i << "\"/>\n";
    }
    xml << "  </spine>\n</package>\n";
    return xml.str();
}

std::string PMTestEpub::encryptionDocument() const
{
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<encryption xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\" xmlns:enc=\"http://www.w3.org/2001/04/xmlenc#\">\n";
    for (const auto& file : files) {
        if (file.encryptionAlgorithm.empty())
            continue;
        xml << "  <enc:EncryptedData>\n    <enc:EncryptionMethod Algorithm=\"" << file.encryptionAlgorithm << "\"/>\n"
            << "    <enc:CipherData><enc:CipherReference URI=\"" << file.path << "\"/></enc:CipherData>\n  </enc:EncryptedData>\n";
    }
    xml << "</encryption>\n";
    return xml.str();
}

bool PMTestEpub::write(const std::string& epubPath) const
{
    PMEpubWriter writer(epubPath);
    if (writeContainer)
        writer.addContainer(packagePath);
    writer.add(packagePath, packageOverride.value_or(packageDocument()));
    bool anyEncrypted = false;
    for (const auto& file : files) {
        writer.add(file.path, file.bytes);
        anyEncrypted |= !file.encryptionAlgorithm.empty();
    }
    if (anyEncrypted)
        writer.add("META-INF/encryption.xml", encryptionDocument());
    for (const auto& raw : rawEntries) {
        if (raw.symbolicLink)
            writer.addSymbolicLink(raw.name, raw.bytes);
        else
            writer.add(raw.name, raw.bytes);
    }
    KCError error;
    if (!writer.close(&error)) {
        ADD_FAILURE() << error.message;
        return false;
    }
    return true;
}
