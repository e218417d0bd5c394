#pragma once
// What the commands that take a book share: opening it with the --cache-dir option.
#include "app/PMCommand.h"
#include "book/PMBook.h"

#include <iostream>

// The opened book, or nothing after printing why it could not be opened.
inline std::optional<PMBook> PMOpenBookArgument(const std::string& path, const PMArguments& arguments)
{
    PMBookOpenOptions options;
    options.cacheDirectory = arguments.option("cache-dir");
    KCError error;
    auto book = PMBook::open(path, options, &error);
    if (!book)
        PMFail(error.message);
    return book;
}
