#ifndef ZEPH_TESTS_TORTURE_KNOWNTEXTS_H
#define ZEPH_TESTS_TORTURE_KNOWNTEXTS_H

#include <string>

// Whether a reader of compiled files may end with this text.
bool IsReaderText(const std::string& text);

// Whether a machine may end with this text: one of its fatal errors behind the
// position, or the message about its time.
bool IsMachineText(const std::string& text);

#endif
