#pragma once
// Single-file HTML archives that a mail composer takes as a message body: a
// binary property list in the web engine's web-archive form, one main
// resource and no subresources.
// Errors: TNWriteWebArchive answers nothing and logs when the file cannot be
// written.
#include "Utilities/KCError.h"
#include "Utilities/KCValue.h"

#include <optional>
#include <string>
#include <string_view>

// The archive of one UTF-8 HTML document loaded from `URL`, in frame "main".
KCData TNWebArchiveData(std::string_view html, std::string_view URL);
// Writes the archive of `html` to `path` (replacing it in one step), with the
// file's own URL as the document's; answers the path.
std::optional<std::string> TNWriteWebArchive(std::string_view html, const std::string& path, KCError* error = nullptr);
