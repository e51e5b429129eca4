#ifndef ZEPH_EXTENSIONS_CONFIG_TAGNAMES_H
#define ZEPH_EXTENSIONS_CONFIG_TAGNAMES_H

// The tags that have an error setting, so that a wrong name can be reported with its
// line: the runtime ignores a name that it does not know.

// A number that is the same for all names of a tag, in any letter case; -1 for a name
// that is none.
int FindTag(const char* name);

// Names by position, the second names of tags included; null past the last.
const char* TagName(int position);

#endif
