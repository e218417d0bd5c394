#pragma once
// Input, output and option parsing shared by the fold, filter and library commands.
#include "app/PMCommand.h"

#include "Search/KCLibraryFragmentFilter.h"
#include "Utilities/KCFormat.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

inline std::string PMReadAll(std::istream& in)
{
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline std::optional<std::vector<uint8_t>> PMReadBinaryFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return std::nullopt;
    std::string bytes = PMReadAll(file);
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

// Writes through a temporary file and a rename, so a failed write leaves
// the old file as it was.
inline bool PMWriteFileAtomically(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::string temporary = path + ".tmp";
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (!file.flush()) {
            std::remove(temporary.c_str());
            return false;
        }
    }
    return std::rename(temporary.c_str(), path.c_str()) == 0;
}

inline std::optional<int64_t> PMParseInteger(const std::string& text)
{
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || *end || errno)
        return std::nullopt;
    return value;
}

inline std::optional<double> PMParseDouble(const std::string& text)
{
    return KCDoubleFromString(text);
}

// --window, --load-factor and --hashes, checked so that no filter is made
// from values that cannot work. Answers an error message on bad input.
inline std::optional<std::string> PMParseLibrarySpecification(const PMArguments& arguments, KCLibraryFilterSpecification& specification)
{
    specification = {1.0, 1, 4};
    if (auto window = arguments.option("window")) {
        auto value = PMParseInteger(*window);
        if (!value || *value < 1 || *value > 1024)
            return "--window must be an integer from 1 to 1024";
        specification.windowWidth = *value;
    }
    if (auto loadFactor = arguments.option("load-factor")) {
        auto value = PMParseDouble(*loadFactor);
        if (!value || *value <= 0 || *value > 1024)
            return "--load-factor must be a number above 0 and at most 1024";
        specification.loadFactor = *value;
    }
    if (auto hashes = arguments.option("hashes")) {
        auto value = PMParseInteger(*hashes);
        if (!value || *value < 1 || *value > KCBloomFilterMaximumHashCount)
            return "--hashes must be an integer from 1 to 8";
        specification.numberOfHashFunctions = *value;
    }
    return std::nullopt;
}

