// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"

#include <clocale>
#include <cstdlib>
#include <cwctype>
#include <string>

/// The locale of the process for as long as this lives; in Turkish the capital letter of i is another than I.
class TurkishLocale
{
public:
    /// UTF-8, or ISO-8859-9, where a single byte is a letter or a no-break space.
    explicit TurkishLocale(const std::string &encoding)
    {
        const std::string name = "tr_TR." + encoding;
        const std::string build = "localedef -i tr_TR -f " + encoding + " '" + m_folder.file(name) + "'";
        m_isInForce = std::system(build.c_str()) == 0 && std::setlocale(LC_ALL, name.c_str()) != nullptr &&
                      std::towupper(L'i') != L'I';
    }

    TurkishLocale(const TurkishLocale &) = delete;
    TurkishLocale &operator=(const TurkishLocale &) = delete;

    ~TurkishLocale() { std::setlocale(LC_ALL, m_previous.c_str()); }

    /// Otherwise Debian's package locales is missing.
    [[nodiscard]] bool isInForce() const { return m_isInForce; }

private:
    TemporaryFolder m_folder;
    ScopedVariable m_locales{"LOCPATH", m_folder.path()};
    std::string m_previous = std::setlocale(LC_ALL, nullptr);
    bool m_isInForce = false;
};
