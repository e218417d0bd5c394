#pragma once
// Runs a test in a user's locale, as GTK leaves the process: the C library's
// locale and ICU's default locale both switched, both restored afterwards.
#include <gtest/gtest.h>
#include <unicode/locid.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

class KCTestLocale {
public:
    // `name` as the C library spells it, "de_DE.UTF-8".
    explicit KCTestLocale(const std::string& name) : m_savedICU(icu::Locale::getDefault())
    {
        const char* current = std::setlocale(LC_ALL, nullptr);
        m_savedC = current ? current : "C";
        m_active = std::setlocale(LC_ALL, name.c_str()) != nullptr;
        if (m_active) {
            UErrorCode status = U_ZERO_ERROR;
            icu::Locale::setDefault(icu::Locale(name.substr(0, name.find('.')).c_str()), status);
        }
    }
    ~KCTestLocale()
    {
        std::setlocale(LC_ALL, m_savedC.c_str());
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(m_savedICU, status);
    }
    KCTestLocale(const KCTestLocale&) = delete;
    KCTestLocale& operator=(const KCTestLocale&) = delete;

    bool active() const { return m_active; }

    // On CI a missing locale is a broken set-up (scripts/setup makes them).
    static bool mustExist()
    {
        const char* ci = std::getenv("CI");
        return ci && std::strcmp(ci, "true") == 0;
    }

private:
    std::string m_savedC;
    icu::Locale m_savedICU;
    bool m_active = false;
};

// Declares `variable` in locale `name`; fails on CI, skips elsewhere, when
// the locale is not installed.
#define KC_IN_LOCALE(variable, name)                                                                 \
    KCTestLocale variable(name);                                                                     \
    if (!variable.active()) {                                                                        \
        if (KCTestLocale::mustExist())                                                               \
            FAIL() << "locale " << (name) << " is not installed; run scripts/setup";                \
        GTEST_SKIP() << "locale " << (name) << " is not installed; scripts/setup generates it";    \
    }
