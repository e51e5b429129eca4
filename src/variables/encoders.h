#ifndef ZEPH_VARIABLES_ENCODERS_H
#define ZEPH_VARIABLES_ENCODERS_H

// The text encodings that scripts ask for by name. Each returns a new array that the
// caller owns: NUL-terminated, with the length and the allocated size through the last
// pointers, which may be null. A length of -1 means that the text ends at its NUL.

// Entities for the characters that have a meaning in markup: " & ( ) < >
char* EncodeEntities(const char* text, int length, int* out_length, int* out_capacity);
// The reverse. An entity that is not known stands as it is.
char* DecodeEntities(const char* text, int length, int* out_length, int* out_capacity);

// The form of names and values in a URL: '+' for a space, "%XX" for what is special.
char* EncodeAttribute(const char* text, int length, int* out_length, int* out_capacity);
// The reverse. A '%' without two hexadecimal digits behind it stands as it is.
char* DecodeAttribute(const char* text, int length, int* out_length, int* out_capacity);

// The inside of a JavaScript string literal. With `utf8`, a multi-byte character
// becomes "\uXXXX"; without it, bytes above 159 stand as they are.
char* EncodeJavaScriptString(const char* text, int length, int* out_length, int* out_capacity,
                             bool utf8);

// All bytes but NUL.
char* StripNULLs(const char* text, int length, int* out_length, int* out_capacity);

#endif
