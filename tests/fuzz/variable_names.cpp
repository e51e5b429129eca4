// Any bytes as the names of variables, one a line behind a letter that tells what is
// done with it, as form fields and scripts bring them.
#include <stdlib.h>
#include <string.h>

#include <map>
#include <string>

#include "FuzzTarget.h"
#include "variables/ReferenceVariableHash.h"
#include "variables/SystemVariableHash.h"

namespace {

class Names : public NamePool {
public:
    const char* Entry(int index, int* size) override
    {
        auto found = m_texts.find(index);
        bool is_known = found != m_texts.end();
        if (size)
            *size = is_known ? int(found->second.size()) : 0;
        return is_known ? found->second.data() : nullptr;
    }
    int Entry_Add(const char* text, int length) override
    {
        int index = int(m_texts.size());
        m_texts[index].assign(text, length < 0 ? strlen(text) : size_t(length));
        return index;
    }
    Names* Clone() override { return new Names(*this); }

private:
    std::map<int, std::string> m_texts;
};

void Demand(bool holds)
{
    if (!holds)
        abort();
}

void CheckScope(const char* name, int length)
{
    const char *rest = nullptr, *alias = nullptr;
    int rest_length = -1, alias_length = -1;
    int kind = VariableHash::Scope(name, length, &rest, &rest_length, &alias, &alias_length);
    Demand(kind == VariableHash::kNoScope || (kind >= 0 && kind <= VariableHash::kDatabaseScope));
    Demand(rest >= name && rest_length >= 0 && rest + rest_length == name + length);
    Demand(alias == name && alias_length >= 0 && alias_length <= length);
    Demand(alias_length == 0 || kind == VariableHash::kDatabaseScope);
    Demand(kind != VariableHash::kNoScope || rest == name);
}

void LookUp(VariableHash* hash, const char* name, int length, int create)
{
    Variable other;
    Variable* found = &other;
    int entries = hash->Entries();
    int is_good = hash->LookupVariable_Fancy(&found, name, length, create);
    Demand(found != &other && (is_good || !found) && (found || !create || !is_good));
    Demand(is_good || strcmp(hash->error().data(), VariableHash::kArrayIndexFault) == 0);
    Demand(create || hash->Entries() == entries);
    if (!found)
        return;
    Variable* again = nullptr;
    Demand(hash->LookupVariable_Fancy(&again, name, length, 0) == 1 && again == found);
}

void Run(VariableHash* hash, char what, const char* name, int length)
{
    const int kCreate = 1;
    switch (what) {
        case '?':
            LookUp(hash, name, length, 0);
            break;
        case '+':
            LookUp(hash, name, length, kCreate);
            break;
        case '=':
        case '&':
            hash->SetVariable_Fancy(name, length, name, length, what == '&');
            break;
        case '!':
            hash->SetVariable(new Variable(name, length, "text", 4));
            break;
        case '>':
            hash->Push();
            break;
        case '<':
            hash->Pop();
            break;
        default:
            hash->ClearVariable(name, length);
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    Names names, view_names;
    VariableHash globals(&names, 2, 8);
    SystemVariableHash systems(&names, 2, 8);
    ReferenceVariableHash view(&view_names, &systems, 2, 8);
    const char* text = reinterpret_cast<const char*>(bytes);
    const char* end = text + size;
    while (text != end) {
        const void* found = memchr(text, '\n', size_t(end - text));
        const char* line_end = found ? static_cast<const char*>(found) : end;
        if (text != line_end) {
            int length = int(line_end - text) - 1;
            CheckScope(text + 1, length);
            Run(&globals, *text, text + 1, length);
            Run(&view, *text, text + 1, length);
        }
        text = found ? line_end + 1 : end;
    }
    return 0;
}
