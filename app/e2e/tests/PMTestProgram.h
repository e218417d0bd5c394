#pragma once
// Runs the pagemoor program as a person runs it, in a scratch folder that
// holds the books the test writes and the program's cache.
#include "e2e/PMSampleBook.h"

#include <gtest/gtest.h>

#include <string>

struct PMTestProgramResult {
    int status = -1;
    std::string output;  // standard output
    std::string errors;  // standard error
};

// `environment` is given to env(1) before the command: "NAME=value ...", "-u NAME".
PMTestProgramResult PMRunPagemoor(const std::string& arguments, const std::string& environment = {});

class PMProgramTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    // Writes the book into the scratch folder and answers its path.
    std::string write(PMSampleBookOptions options, const std::string& name = "book.epub");

    std::string m_root;
};
