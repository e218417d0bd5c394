#pragma once
// A test that runs the pagemoor program in a scratch folder holding the books
// it writes and the program's cache.
#include "app/tests/PMProgramRunner.h"
#include "e2e/PMSampleBook.h"

#include <gtest/gtest.h>

#include <cstdlib>

class PMProgramTest : public ::testing::Test {
protected:
    void SetUp() override { setenv("PAGEMOOR_CACHE_DIR", m_scratch.file("cache").c_str(), 1); }
    // Writes the book into the scratch folder and answers its path.
    std::string write(PMSampleBookOptions options, const std::string& name = "book.epub")
    {
        EXPECT_FALSE(PMWriteSampleBook(options, m_scratch.file(name)).has_value());
        return m_scratch.file(name);
    }

    KCScratchDirectory m_scratch;
    std::string m_root = m_scratch.path();
};
