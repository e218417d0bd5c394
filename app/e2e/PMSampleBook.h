#pragma once
// Writes the EPUB books that the demo, the end-to-end tests and the
// benchmark read: original text, an embedded free font obfuscated by the
// IDPF or the Adobe scheme, ruby text, accented and full-width text.
#include <optional>
#include <string>
#include <vector>

enum class PMFontObfuscation { None, IDPF, Adobe };

struct PMSampleChapter {
    std::string title;
    std::string bodyXHTML;  // what goes inside <body>
    std::string headXHTML = {};  // extra elements for <head> (scripts, meta)
};

struct PMSampleBookOptions {
    std::string identifier = "urn:uuid:3b1f6c2e-8d4a-4f7b-a9e0-52c7d18e6a94";
    std::string title = "The Lantern on Harrow Moor";
    std::string creator = "Pagemoor Sample Text";
    std::string fontPath = "/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf";
    PMFontObfuscation obfuscation = PMFontObfuscation::IDPF;
    std::vector<PMSampleChapter> chapters;
    // Spine items whose file is left out of the container.
    std::vector<std::string> missingChapters;
    // The chapters still link the style sheet (and its font), but it is not there.
    bool missingStyleSheet = false;
};

// The three chapters of the sample book.
std::vector<PMSampleChapter> PMSampleBookChapters();
// `count` chapters of generated prose, about `paragraphs` paragraphs each;
// chapter i carries the marker words of PMGeneratedMarker(i, k).
std::vector<PMSampleChapter> PMGeneratedChapters(int count, int paragraphs);
// A word that occurs only in chapters i where i % (k + 2) == 0.
std::string PMGeneratedMarker(int k);

// The font's bytes obfuscated with the book's identifier.
std::string PMObfuscateFont(std::string font, PMFontObfuscation obfuscation, const std::string& identifier);

// Nothing on success, else the reason.
std::optional<std::string> PMWriteSampleBook(const PMSampleBookOptions& options, const std::string& epubPath);
