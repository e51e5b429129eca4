#include "NearestName.h"

#include <ctype.h>
#include <string.h>

namespace {

bool SameLetter(char a, char b)
{
    return tolower(static_cast<unsigned char>(a)) == tolower(static_cast<unsigned char>(b));
}

int Least(int a, int b, int c)
{
    int least = a < b ? a : b;
    return least < c ? least : c;
}

}  // namespace

// A third of the letters may be wrong.
NearestName::NearestName(const char* word)
    : m_word(word), m_length(int(strnlen(word, kLongestWord + 1))), m_distance(m_length / 3 + 1)
{
}

void NearestName::Offer(const char* name)
{
    if (m_length > kLongestWord)
        return;
    int distance = Distance(name);
    if (distance >= m_distance)
        return;
    m_distance = distance;
    m_nearest = name;
}

// The number of letters to insert, drop or change, whatever their case. The array is
// one row of the usual table: the costs of turning the first letters of the name into
// the first 0, 1, 2... letters of the word.
int NearestName::Distance(const char* name) const
{
    int row[kLongestWord + 1];
    for (int i = 0; i <= m_length; ++i)
        row[i] = i;
    for (int line = 1; *name; ++name, ++line) {
        int diagonal = row[0];
        row[0] = line;
        for (int i = 1; i <= m_length; ++i) {
            int changed = diagonal + (SameLetter(m_word[i - 1], *name) ? 0 : 1);
            diagonal = row[i];
            row[i] = Least(row[i] + 1, row[i - 1] + 1, changed);
        }
    }
    return row[m_length];
}
