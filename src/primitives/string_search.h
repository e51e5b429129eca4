#ifndef ZEPH_PRIMITIVES_STRING_SEARCH_H
#define ZEPH_PRIMITIVES_STRING_SEARCH_H

// Substring search over counted byte ranges. All give a 0-based position, or -1:
//
//   bf  brute force and bm Boyer-Moore: the same search, which reads the haystack at the
//       speed of memory; the two differ in what they say of empty ranges
//   rk  Rabin-Karp, with a rolling hash
//
// The forms ending in i ignore the case of letters below 128. The reverse forms
// give the last position, which for an empty needle is the haystack's length. A negative
// length is an empty range; the bf forms find no needle of a negative length.

// -1 for an empty haystack; an empty needle stands at 0 in any other.
int bf_search(const char* needle, int needle_length, const char* haystack, int haystack_length);
int bf_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length);
int bf_search_reverse(const char* needle, int needle_length, const char* haystack,
                      int haystack_length);
int bf_searchi_reverse(const char* needle, int needle_length, const char* haystack,
                       int haystack_length);

// An empty needle stands at 0, in an empty haystack as well.
int bm_search(const char* needle, int needle_length, const char* haystack, int haystack_length);
int bm_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length);
int bm_search_reverse(const char* needle, int needle_length, const char* haystack,
                      int haystack_length);
int bm_searchi_reverse(const char* needle, int needle_length, const char* haystack,
                       int haystack_length);

// The first position that is compared is 1: a match at 0 is not reported, and an empty
// needle stands at 1. -1 for an empty haystack.
int rk_search(const char* needle, int needle_length, const char* haystack, int haystack_length);
int rk_searchi(const char* needle, int needle_length, const char* haystack, int haystack_length);

#endif
