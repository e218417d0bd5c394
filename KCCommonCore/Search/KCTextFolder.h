#pragma once
// The folding engine behind KCSearchFolding.h and KCSearchRange.h.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Where one folded unit came from: the units [start, end) of the original.
struct KCFoldSource {
    uint32_t start;
    uint32_t end;
};

struct KCFoldOptions {
    uint64_t flags = 0;       // the comparison bits of KCSearchFolding.h
    bool foldQuotes = false;  // foldQuoteMark on every unit of the result
    bool foldCase = false;    // full case folding instead of lower case, so final sigma and ß match
};

// Appends the fold of `text` to `out`. With `sources`, also appends one
// entry per folded unit; the folded text is the same either way. Texts of
// 2^32 units or more are not folded (logged) when sources are asked for.
void KCFoldText(std::u16string_view text, KCFoldOptions options, std::u16string& out, std::vector<KCFoldSource>* sources = nullptr);

// The same fold through the ICU transforms alone, without the ASCII fast
// path; the reference that the fast path must match unit for unit.
std::u16string KCFoldTextWithICU(std::u16string_view text, KCFoldOptions options);
