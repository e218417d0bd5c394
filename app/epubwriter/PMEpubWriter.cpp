#include "PMEpubWriter.h"

#include "Utilities/KCLogger.h"

#include <sys/stat.h>
#include <zip.h>

#include <cstdlib>
#include <cstring>

const char* const PMEpubWriterErrorDomain = "PMEpubWriterErrorDomain";

PMEpubWriter::PMEpubWriter(const std::string& path)
    : m_path(path)
{
    int code = 0;
    m_archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code);
    if (!m_archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        fail(code, std::string("cannot create: ") + zip_error_strerror(&error));
        zip_error_fini(&error);
        return;
    }
    addEntry("mimetype", "application/epub+zip", true, false);
}

PMEpubWriter::~PMEpubWriter()
{
    if (m_archive)
        zip_discard(m_archive);
}

void PMEpubWriter::addContainer(const std::string& packagePath)
{
    add("META-INF/container.xml",
        "<?xml version=\"1.0\"?>\n<container version=\"1.0\" xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\">\n"
        "<rootfiles><rootfile full-path=\"" + packagePath + "\" media-type=\"application/oebps-package+xml\"/></rootfiles>\n</container>\n");
}

void PMEpubWriter::add(const std::string& name, const std::string& bytes)
{
    addEntry(name, bytes, false, false);
}

void PMEpubWriter::addSymbolicLink(const std::string& name, const std::string& target)
{
    addEntry(name, target, false, true);
}

void PMEpubWriter::addEntry(const std::string& name, const std::string& bytes, bool stored, bool symbolicLink)
{
    if (!m_failure.message.empty())
        return;
    // libzip reads the buffer only when the archive is closed, so it gets a
    // heap copy of its own to free; until the source exists the copy is ours.
    // An empty entry has no buffer: libzip would not free one of length 0.
    void* copy = nullptr;
    if (!bytes.empty()) {
        copy = std::malloc(bytes.size());
        if (!copy)
            return fail(ZIP_ER_MEMORY, "out of memory for " + name);
        std::memcpy(copy, bytes.data(), bytes.size());
    }
    zip_source_t* source = zip_source_buffer(m_archive, copy, bytes.size(), copy ? 1 : 0);
    if (!source) {
        std::free(copy);
        return failInArchive("cannot add " + name);
    }
    zip_int64_t index = zip_file_add(m_archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        return failInArchive("cannot add " + name);
    }
    auto entry = static_cast<zip_uint64_t>(index);
    if ((stored && zip_set_file_compression(m_archive, entry, ZIP_CM_STORE, 0) != 0)
        || (symbolicLink && zip_file_set_external_attributes(m_archive, entry, 0, ZIP_OPSYS_UNIX, (S_IFLNK | 0777u) << 16) != 0))
        failInArchive("cannot set up " + name);
}

bool PMEpubWriter::close(KCError* error)
{
    if (m_failure.message.empty()) {
        if (zip_close(m_archive) == 0) {
            m_archive = nullptr;
            return true;
        }
        failInArchive("cannot write");
    }
    if (m_archive)
        zip_discard(m_archive);
    m_archive = nullptr;
    return KCSetError(error, m_failure);
}

void PMEpubWriter::fail(int code, const std::string& what)
{
    if (!m_failure.message.empty())
        return;
    m_failure = KCError(PMEpubWriterErrorDomain, code, what + " (" + m_path + ")");
    KCLog("%@", m_failure.message);
}

void PMEpubWriter::failInArchive(const std::string& what)
{
    fail(zip_error_code_zip(zip_get_error(m_archive)), what + ": " + zip_strerror(m_archive));
}
