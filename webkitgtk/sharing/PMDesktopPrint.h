#pragma once
// Prints an HTML page through WebKitGTK: into a PDF file when a path is
// given (no dialog), else through the print dialog. The page loads in a web
// view that is never shown.
// Errors: a failed load or print reaches `finish`.
#include "PMDesktopMail.h"

#include <optional>
#include <string>

void PMPrintHTML(const std::string& html, const std::optional<std::string>& pdfPath, PMDesktopShareFinish finish);
