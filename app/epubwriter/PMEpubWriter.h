#pragma once
// Writes an EPUB container: the "mimetype" entry first and uncompressed, as
// readers sniff it there, then the entries in the order they are added.
// Errors: close() answers false, fills the error and logs when libzip could
// not create or write the file; the first step that failed is reported.
#include "Utilities/KCError.h"

#include <string>

typedef struct zip zip_t;

extern const char* const PMEpubWriterErrorDomain;  // "PMEpubWriterErrorDomain"; codes are libzip's

class PMEpubWriter {
public:
    // Creates (or truncates) the file and adds its mimetype entry.
    explicit PMEpubWriter(const std::string& path);
    // Discards a file that was not closed.
    ~PMEpubWriter();
    PMEpubWriter(const PMEpubWriter&) = delete;
    PMEpubWriter& operator=(const PMEpubWriter&) = delete;

    // META-INF/container.xml naming the package document.
    void addContainer(const std::string& packagePath);
    void add(const std::string& name, const std::string& bytes);
    // An entry that unpacks as a symbolic link to `target`.
    void addSymbolicLink(const std::string& name, const std::string& target);
    bool close(KCError* error);

private:
    void addEntry(const std::string& name, const std::string& bytes, bool stored, bool symbolicLink);
    void fail(int code, const std::string& what);
    void failInArchive(const std::string& what);

    std::string m_path;
    zip_t* m_archive = nullptr;
    KCError m_failure;
};
