// Writes a sample EPUB: the demo's book, or a generated one for benchmarks.
#include "PMSampleBook.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: pagemoor-make-book OUT.epub [--generated CHAPTERS PARAGRAPHS] [--adobe]\n");
        return 2;
    }
    PMSampleBookOptions options;
    options.chapters = PMSampleBookChapters();
    for (int i = 2; i < argc; ++i) {
        std::string argument = argv[i];
        if (argument == "--generated" && i + 2 < argc) {
            options.title = "Generated Moor";
            options.chapters = PMGeneratedChapters(std::atoi(argv[i + 1]), std::atoi(argv[i + 2]));
            i += 2;
        } else if (argument == "--adobe") {
            options.obfuscation = PMFontObfuscation::Adobe;
        } else {
            std::fprintf(stderr, "pagemoor-make-book: unknown argument %s\n", argv[i]);
            return 2;
        }
    }
    if (auto failure = PMWriteSampleBook(options, argv[1])) {
        std::fprintf(stderr, "pagemoor-make-book: %s\n", failure->c_str());
        return 1;
    }
    // The generated book's marker words, for searches with a known answer.
    if (options.title == "Generated Moor") {
        for (int k = 0; k < 8; ++k)
            std::printf("%s\n", PMGeneratedMarker(k).c_str());
    }
    return 0;
}
