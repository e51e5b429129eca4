// Operators that look for a text within another, and the hash of a text.
#include <stdlib.h>

#include "app/ZephApplication.h"
#include "primitives/string_search.h"
#include "vm/ZephVM.h"
#include "vm/ZephVM_Stack.h"

namespace {

const int kOwned = 1;

// The longest haystack that is searched by brute force; a longer one pays for the table
// that Boyer-Moore makes.
const int kLongestForBruteForce = 299;

enum Case {
    kExactCase,
    kAnyCase
};

// The needle is the left operand; both texts are taken.
struct Search {
    explicit Search(ZephVM_Stack* stack) : haystack(stack), needle(stack) {}
    // 0-based, or -1.
    int Position(Case letter_case) const;

    PoppedText haystack;
    PoppedText needle;
};

int Search::Position(Case letter_case) const
{
    bool is_long = haystack.length() > kLongestForBruteForce;
    auto exact = is_long ? bm_search : bf_search;
    auto any_case = is_long ? bm_searchi : bf_searchi;
    auto search = letter_case == kExactCase ? exact : any_case;
    return search(needle.data(), needle.length(), haystack.data(), haystack.length());
}

// Where the needle begins, from 1, or 0 for nowhere.
int PushStart(ZephVM* vm, ZephVM_Stack* stack, Case letter_case)
{
    Search search(stack);
    if (vm->halted())
        return 0;
    stack->PushI(search.Position(letter_case) + 1);
    return 1;
}

// Where the needle ends, from 1, or 0 for nowhere: an empty needle ends before the first
// byte.
int PushEnd(ZephVM* vm, ZephVM_Stack* stack, Case letter_case)
{
    Search search(stack);
    if (vm->halted())
        return 0;
    int position = search.Position(letter_case);
    stack->PushI(position < 0 ? 0 : position + search.needle.length());
    return 1;
}

const char kSaltCharacters[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// The last character of the table is never picked, on purpose: salts have been so from the
// beginning.
char RandomSaltCharacter()
{
    return kSaltCharacters[rand() % 63];
}

void ChooseSalt(const PoppedText& wish, char* salt)
{
    if (wish.length() == 0) {
        salt[0] = RandomSaltCharacter();
        salt[1] = RandomSaltCharacter();
        return;
    }
    salt[0] = wish.data()[0];
    salt[1] = wish.data()[wish.length() == 1 ? 0 : 1];
}

}  // namespace

int ZephVM::in()
{
    return PushStart(this, m_stack, kExactCase);
}

int ZephVM::cin()
{
    return PushStart(this, m_stack, kAnyCase);
}

int ZephVM::ein()
{
    return PushEnd(this, m_stack, kExactCase);
}

int ZephVM::ecin()
{
    return PushEnd(this, m_stack, kAnyCase);
}

int ZephVM::crypt()
{
    PoppedText wish(m_stack);
    PoppedText text(m_stack);
    if (m_halted)
        return 0;
    char salt[2];
    ChooseSalt(wish, salt);
    int length, capacity;
    char* hash = m_application->Crypt(text.data(), text.length(), salt, &length, &capacity);
    m_stack->PushS(hash, length, capacity, kOwned);
    return 1;
}
