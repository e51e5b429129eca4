#include <string.h>

#include "primitives/memcmpi.h"
#include "variables/VariableHash.h"

namespace {

const char kDatabase[] = "database";
const int kDatabaseLength = 8;

bool IsWord(const char* text, int length, const char* word)
{
    return length == int(strlen(word)) && memcmpi(text, word, length) == 0;
}

// How much of a name is its scope.
struct Prefix {
    int kind;
    int length;  // up to and with the last '.'
    int alias;   // length of the alias in front
};

const Prefix kNoPrefix = {VariableHash::kNoScope, 0, 0};

// What the letter in front of a '.' tells.
int LetterScope(char letter)
{
    switch (letter) {
        case 'l':
        case 'L':
            return VariableHash::kLocalScope;
        case 'g':
        case 'G':
            return VariableHash::kGlobalScope;
        case 's':
        case 'S':
            return VariableHash::kSystemScope;
        case 'd':
        case 'D':
            return VariableHash::kDatabaseScope;
        default:
            return VariableHash::kNoScope;
    }
}

// What the word in front of the first '.' tells, without looking further.
int WordScope(const char* word, int length)
{
    if (IsWord(word, length, "local"))
        return VariableHash::kLocalScope;
    if (IsWord(word, length, "global"))
        return VariableHash::kGlobalScope;
    if (IsWord(word, length, "system"))
        return VariableHash::kSystemScope;
    return VariableHash::kNoScope;
}

// "alias.d." and "alias.database.", the alias being `length` long and `left` bytes
// standing behind it.
Prefix AliasPrefix(const char* name, int length, int left)
{
    const char* second = name + length + 1;
    if (left >= 3 && LetterScope(second[0]) == VariableHash::kDatabaseScope && second[1] == '.')
        return {VariableHash::kDatabaseScope, length + 3, length};
    if (left >= kDatabaseLength + 2 && second[kDatabaseLength] == '.' &&
        IsWord(second, kDatabaseLength, kDatabase))
        return {VariableHash::kDatabaseScope, length + kDatabaseLength + 2, length};
    return kNoPrefix;
}

Prefix ParsePrefix(const char* name, int length)
{
    if (length >= 2 && name[1] == '.') {
        int kind = LetterScope(name[0]);
        if (kind != VariableHash::kNoScope)
            return {kind, 2, 0};
        // An alias of one letter, which may be a '.' itself, needs a name behind it;
        // else what follows reads it as a word.
        Prefix found = AliasPrefix(name, 1, length - 1);
        if (found.length > 0 && found.length < length)
            return found;
    }
    const void* dot = memchr(name, '.', size_t(length));
    if (!dot)
        return kNoPrefix;
    int word = int(static_cast<const char*>(dot) - name);
    int kind = WordScope(name, word);
    if (kind != VariableHash::kNoScope)
        return {kind, word + 1, 0};
    int left = length - word;
    Prefix found = AliasPrefix(name, word, left);
    if (found.length > 0)
        return found;
    if (left >= 3 && IsWord(name, word, kDatabase))
        return {VariableHash::kDatabaseScope, kDatabaseLength + 1, 0};
    return kNoPrefix;
}

}  // namespace

int VariableHash::Scope(const char* name, int length, const char** rest, int* rest_length,
                        const char** alias, int* alias_length)
{
    if (!name) {
        name = "";
        length = 0;
    }
    if (length < 0)
        length = int(strlen(name));
    Prefix prefix = ParsePrefix(name, length);
    *rest = name + prefix.length;
    *rest_length = length - prefix.length;
    *alias = name;
    *alias_length = prefix.alias;
    return prefix.kind;
}
