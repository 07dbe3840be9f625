// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Arguments in the form that main and exec take, the program first and a null pointer behind the last.
class ArgumentVector
{
public:
    ArgumentVector(const std::string &program, const std::vector<std::string> &arguments)
    {
        m_texts.reserve(arguments.size() + 1);
        m_texts.push_back(program);
        m_texts.insert(m_texts.end(), arguments.begin(), arguments.end());
        m_pointers.reserve(m_texts.size() + 1);
        for (std::string &text : m_texts) {
            m_pointers.push_back(text.data());
        }
        m_pointers.push_back(nullptr);
    }

    ArgumentVector(const ArgumentVector &) = delete;
    ArgumentVector &operator=(const ArgumentVector &) = delete;

    [[nodiscard]] int count() const { return static_cast<int>(m_texts.size()); }

    [[nodiscard]] char **data() { return m_pointers.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char *> m_pointers;
};
