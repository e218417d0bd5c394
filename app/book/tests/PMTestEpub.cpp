#include "PMTestEpub.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <zip.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

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

bool addEntry(zip_t* archive, const std::string& name, const std::string& bytes, bool stored = false)
{
    // libzip copies nothing until close: the buffer must outlive the archive
    // handle, so it is handed over with freep = 1.
    void* copy = std::malloc(bytes.size() ? bytes.size() : 1);
    std::memcpy(copy, bytes.data(), bytes.size());
    zip_source_t* source = zip_source_buffer(archive, copy, bytes.size(), 1);
    if (!source)
        return false;
    zip_int64_t index = zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        return false;
    }
    if (stored)
        zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
    return true;
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
    int error = 0;
    zip_t* archive = zip_open(epubPath.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive) {
        ADD_FAILURE() << "cannot create " << epubPath;
        return false;
    }
    bool ok = addEntry(archive, "mimetype", "application/epub+zip", true);
    if (writeContainer) {
        ok = ok && addEntry(archive, "META-INF/container.xml",
            "<?xml version=\"1.0\"?>\n<container version=\"1.0\" xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\">\n"
            "  <rootfiles><rootfile full-path=\"" + packagePath + "\" media-type=\"application/oebps-package+xml\"/></rootfiles>\n</container>\n");
    }
    ok = ok && addEntry(archive, packagePath, packageOverride.value_or(packageDocument()));
    bool anyEncrypted = false;
    for (const auto& file : files) {
        ok = ok && addEntry(archive, file.path, file.bytes);
        anyEncrypted |= !file.encryptionAlgorithm.empty();
    }
    if (anyEncrypted)
        ok = ok && addEntry(archive, "META-INF/encryption.xml", encryptionDocument());
    for (const auto& raw : rawEntries) {
        ok = ok && addEntry(archive, raw.name, raw.bytes);
        if (ok && raw.symbolicLink) {
            zip_int64_t index = zip_name_locate(archive, raw.name.c_str(), 0);
            ok = index >= 0 && zip_file_set_external_attributes(archive, static_cast<zip_uint64_t>(index), 0, ZIP_OPSYS_UNIX, (S_IFLNK | 0777u) << 16) == 0;
        }
    }
    if (!ok || zip_close(archive) != 0) {
        ADD_FAILURE() << "cannot write " << epubPath << ": " << zip_strerror(archive);
        zip_discard(archive);
        return false;
    }
    return true;
}

std::string PMTestObfuscateIDPF(std::string font, const std::string& cleanedIdentifier)
{
    unsigned char key[EVP_MAX_MD_SIZE];
    unsigned int keyLength = 0;
    EVP_Digest(cleanedIdentifier.data(), cleanedIdentifier.size(), key, &keyLength, EVP_sha1(), nullptr);
    for (size_t i = 0; i < font.size() && i < 1040; ++i)
        font[i] = static_cast<char>(font[i] ^ key[i % keyLength]);
    return font;
}

std::string PMTestObfuscateAdobe(std::string font, const std::string& uuidText)
{
    std::string digits;
    for (char c : uuidText.substr(uuidText.find("urn:uuid:") == 0 ? 9 : 0)) {
        if (std::isxdigit(static_cast<unsigned char>(c)))
            digits += c;
    }
    std::string key(uuidText.size() - (uuidText.find("urn:uuid:") == 0 ? 9 : 0), '\0');
    for (size_t i = 0; i < 16; ++i)
        key[i] = static_cast<char>(std::stoi(digits.substr(2 * i, 2), nullptr, 16));
    for (size_t i = 0; i < font.size() && i < 1024; ++i)
        font[i] = static_cast<char>(font[i] ^ key[i % key.size()]);
    return font;
}

std::string PMTestReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

PMBookSandbox::PMBookSandbox()
{
    std::string pattern = testing::TempDir() + "pm-book-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        ADD_FAILURE() << "cannot create " << pattern;
    m_root = std::filesystem::weakly_canonical(pattern).string();
}

PMBookSandbox::~PMBookSandbox()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

std::vector<std::string> PMBookSandbox::contents() const
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (auto it = std::filesystem::recursive_directory_iterator(m_root, ignored); it != std::filesystem::recursive_directory_iterator(); it.increment(ignored))
        names.push_back(std::filesystem::relative(it->path(), m_root).string());
    std::sort(names.begin(), names.end());
    return names;
}
