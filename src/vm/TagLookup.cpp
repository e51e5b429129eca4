#include "vm/TagLookup.h"

#include <ctype.h>
#include <string.h>

#include "vm/TagErrorSettings.h"

namespace {

const int kLongestName = 18;
const int kTags = kTagErrorRows - 1;

// Names beside those of the settings table.
const struct {
    const char* name;
    int row;
} second_names[] = {
    {"expression", kExpressionTag},
    {"zpfuncreturn", 17},
    {"zpasync", 75},
};

bool Equals(const char* lower_name, int length, const char* tag)
{
    if (strlen(tag) != size_t(length))
        return false;
    for (int i = 0; i < length; ++i)
        if (lower_name[i] != tolower(static_cast<unsigned char>(tag[i])))
            return false;
    return true;
}

}  // namespace

int TagLookup::Lookup(const char* name, int length) const
{
    if (length < 0)
        length = int(strnlen(name, kLongestName + 1));
    if (length > kLongestName)
        return -1;
    char lower[kLongestName];
    for (int i = 0; i < length; ++i)
        lower[i] = char(tolower(static_cast<unsigned char>(name[i])));
    for (const auto& second : second_names)
        if (Equals(lower, length, second.name))
            return second.row;
    for (int row = 0; row < kTags; ++row)
        if (row != kExpressionTag && Equals(lower, length, tag_default_errorsettings[row].tag_name))
            return row;
    return -1;
}
