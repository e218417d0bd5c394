#pragma once
// Whole-file reads for the resource protocol: one buffer, one piece.
// Errors: PMReadWholeFile answers nothing and fills *error (errno domain).
#include "Utilities/KCError.h"
#include "Utilities/KCValue.h"

#include <optional>
#include <string>

// The file's bytes, or nothing with the reason in `error` (a directory, a
// missing or unreadable file).
std::optional<KCData> PMReadWholeFile(const std::string& path, KCError* error);
