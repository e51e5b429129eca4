#ifndef ZEPH_TESTS_VARIABLES_TESTNAMES_H
#define ZEPH_TESTS_VARIABLES_TESTNAMES_H

#include <string.h>

#include <string>
#include <vector>

#include "variables/NamePool.h"

// A pool of names that tells how many were added to it.
class Names : public NamePool {
public:
    const char* Entry(int index, int* size) override
    {
        bool known = index >= 0 && size_t(index) < m_texts.size();
        if (size)
            *size = known ? int(m_texts[size_t(index)].size()) : 0;
        return known ? m_texts[size_t(index)].data() : nullptr;
    }
    int Entry_Add(const char* text, int length) override
    {
        m_texts.emplace_back(text, length < 0 ? strlen(text) : size_t(length));
        return int(m_texts.size()) - 1;
    }
    bool IsPermanent() override { return is_permanent; }
    Names* Clone() override { return new Names(*this); }
    size_t size() const { return m_texts.size(); }

    bool is_permanent = false;

private:
    std::vector<std::string> m_texts;
};

#endif
