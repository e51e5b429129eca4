// Operators that look for a text within another, and the hash of a text.
#include <stdlib.h>

#include "app/ZephApplication.h"
#include "primitives/string_search.h"
#include "variables/DirectValue.h"
#include "vm/TakenTexts.h"
#include "vm/ZephVM.h"

namespace {

const int kOwned = 1;

// The longest haystack that is searched by brute force; a longer one pays for the table
// that Boyer-Moore makes.
const int kLongestForBruteForce = 299;

// What most entries own, a count of a variable, is given back without a virtual call.
inline void Release(const Stack_Entry& entry)
{
    if (!entry.owned)
        return;
    if (entry.kind == Stack_Entry::kVariable)
        DirectValue::DropCount(entry.variable);
    else
        ZephVM_Stack::Release(entry);
}

enum Case {
    kExactCase,
    kAnyCase
};

// Where the needle begins, from 1, or 0 for nowhere.
struct Start {
    static int Of(int position, int) { return position + 1; }
};

// Where the needle ends, from 1, or 0 for nowhere: an empty needle ends before the first
// byte.
struct End {
    static int Of(int position, int length) { return position < 0 ? 0 : position + length; }
};

template <class Answer, Case LetterCase>
int Found(const char* needle, int length, const char* haystack, int haystack_length)
{
    bool is_long = haystack_length > kLongestForBruteForce;
    auto exact = is_long ? bm_search : bf_search;
    auto any_case = is_long ? bm_searchi : bf_searchi;
    auto search = LetterCase == kExactCase ? exact : any_case;
    return Answer::Of(search(needle, length, haystack, haystack_length), length);
}

// The left operand is the needle. Where both have their text at hand, it is searched on the
// stack, and what they own is given back when the answer is in their place.
template <class Answer, Case LetterCase>
int PushAnswer(ZephVM* vm, ZephVM_Stack* stack)
{
    TextAtHand needle, haystack;
    Stack_Entry* right = stack->Peek();
    if (stack->Entries() >= 2 && haystack.Find(right[0]) && needle.Find(right[-1])) {
        int answer =
            Found<Answer, LetterCase>(needle.text, needle.length, haystack.text, haystack.length);
        Stack_Entry right_entry = right[0], left_entry = right[-1];
        stack->ReplaceOperands(answer);
        Release(right_entry);
        Release(left_entry);
        return 1;
    }
    TakenTexts texts(stack);
    if (vm->halted())
        return 0;
    stack->PushI(Found<Answer, LetterCase>(texts.left(), texts.left_length(), texts.right(),
                                           texts.right_length()));
    return 1;
}

const char kSaltCharacters[] = "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// The last character of the table is never picked, on purpose: salts have been so from the
// beginning.
char RandomSaltCharacter()
{
    return kSaltCharacters[rand() % 63];
}

void ChooseSalt(const char* wish, int length, char* salt)
{
    if (length == 0) {
        salt[0] = RandomSaltCharacter();
        salt[1] = RandomSaltCharacter();
        return;
    }
    salt[0] = wish[0];
    salt[1] = wish[length == 1 ? 0 : 1];
}

}  // namespace

int ZephVM::in()
{
    return PushAnswer<Start, kExactCase>(this, m_stack);
}

int ZephVM::cin()
{
    return PushAnswer<Start, kAnyCase>(this, m_stack);
}

int ZephVM::ein()
{
    return PushAnswer<End, kExactCase>(this, m_stack);
}

int ZephVM::ecin()
{
    return PushAnswer<End, kAnyCase>(this, m_stack);
}

int ZephVM::crypt()
{
    TakenTexts texts(m_stack);
    if (m_halted)
        return 0;
    char salt[2];
    ChooseSalt(texts.right(), texts.right_length(), salt);
    int length, capacity;
    char* hash = m_application->Crypt(texts.left(), texts.left_length(), salt, &length, &capacity);
    m_stack->PushS(hash, length, capacity, kOwned);
    return 1;
}
