#pragma once
// Small text services over UTF-16: character classes, trimming, counting,
// and sentence and word boundaries (ICU's rules, root locale). Offsets and
// ranges count UTF-16 units; classes are tested per code point.
#include "KCGeometry.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// White space and line breaks: tab to carriage return, U+0085, and the space, line and paragraph separators.
bool KCIsWhitespaceOrNewline(char32_t c);
// Unicode punctuation (general categories P*).
bool KCIsPunctuation(char32_t c);
std::u16string_view KCTrimWhitespaceAndNewlines(std::u16string_view text);

// Every control or format character (Cc, Cf) and every line break becomes
// one blank: two line breaks in a row give two blanks.
std::u16string flattenedAnnotationString(std::u16string_view text);
// Non-overlapping occurrences of the needle, unit for unit; 0 for an empty needle.
uint64_t tn_occurrenceCountOfString(std::u16string_view text, std::u16string_view needle);

// The sentences of the text in order; together they cover it.
std::vector<KCRange> KCSentenceRanges(std::u16string_view text);
// The words of the text in order: letters, numbers, ideographs; blanks and punctuation between them are left out.
std::vector<KCRange> KCWordRanges(std::u16string_view text);
// The words (or sentences) one at a time, in order, until `visit` answers false.
void KCEnumerateTokenRanges(std::u16string_view text, bool sentences, const std::function<bool(KCRange)>& visit);
