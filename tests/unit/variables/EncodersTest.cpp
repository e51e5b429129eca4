#include "variables/encoders.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

typedef char* (*Encoder)(const char*, int, int*, int*);

// What an encoder makes of a counted text; the terms of the array are checked.
std::string Result(Encoder encoder, const std::string& text)
{
    int length = -1, capacity = -1;
    char* array = encoder(text.data(), int(text.size()), &length, &capacity);
    EXPECT_GT(capacity, length);
    EXPECT_EQ(array[length], 0);
    std::string result(array, size_t(length));
    delete[] array;
    return result;
}

char* JavaScriptPlain(const char* text, int length, int* out_length, int* out_capacity)
{
    return EncodeJavaScriptString(text, length, out_length, out_capacity, false);
}

char* JavaScriptUTF8(const char* text, int length, int* out_length, int* out_capacity)
{
    return EncodeJavaScriptString(text, length, out_length, out_capacity, true);
}

std::string Hex(const char* prefix, int byte)
{
    char text[16];
    std::snprintf(text, sizeof text, "%s%02X", prefix, unsigned(byte));
    return text;
}

const Encoder kAll[] = {EncodeEntities,  DecodeEntities, EncodeAttribute, DecodeAttribute,
                        JavaScriptPlain, JavaScriptUTF8, StripNULLs};

}  // namespace

TEST(Encoders, AcceptNothingAndTerminatedTexts)
{
    for (Encoder encoder : kAll) {
        EXPECT_EQ(Result(encoder, ""), "");
        char* array = encoder("abc", -1, nullptr, nullptr);
        EXPECT_STREQ(array, "abc");
        delete[] array;
        array = encoder(nullptr, 0, nullptr, nullptr);
        EXPECT_STREQ(array, "");
        delete[] array;
    }
}

TEST(Encoders, GrowPastTheFirstBlock)
{
    std::string text(5000, '<'), entities, attribute, script;
    for (int i = 0; i < 5000; ++i) {
        entities += "&lt;";
        attribute += "%3C";
        script += "\\u003C";
    }
    EXPECT_EQ(Result(EncodeEntities, text), entities);
    EXPECT_EQ(Result(DecodeEntities, entities), text);
    EXPECT_EQ(Result(EncodeAttribute, text), attribute);
    EXPECT_EQ(Result(DecodeAttribute, attribute), text);
    EXPECT_EQ(Result(JavaScriptPlain, text), script);
}

TEST(EncodeEntities, ReplacesExactlySixBytes)
{
    for (int byte = 0; byte < 256; ++byte) {
        std::string expected(1, char(byte));
        switch (byte) {
            case '"':
                expected = "&quot;";
                break;
            case '&':
                expected = "&amp;";
                break;
            case '(':
                expected = "&#40;";
                break;
            case ')':
                expected = "&#41;";
                break;
            case '<':
                expected = "&lt;";
                break;
            case '>':
                expected = "&gt;";
                break;
        }
        EXPECT_EQ(Result(EncodeEntities, std::string("x") + char(byte) + "y"), "x" + expected + "y")
            << byte;
    }
    EXPECT_EQ(Result(EncodeEntities, "<a href=\"f(1)\">&</a>"),
              "&lt;a href=&quot;f&#40;1&#41;&quot;&gt;&amp;&lt;/a&gt;");
}

TEST(DecodeEntities, DecodesKnownNamesAndLeavesTheRest)
{
    static const struct {
        const char* text;
        const char* decoded;
    } rows[] = {
        {"&lt;b&gt; &amp; &quot;&#40;&#41;", "<b> & \"()"},
        {"&LT;&Amp;&qUoT;", "<&\""},
        {"a &lt", "a <"},
        {"&", "&"},
        {"a&b", "a&b"},
        {"&;", "&;"},
        {"&nbsp;x", "&nbsp;x"},
        {"&lt x;", "&lt x;"},
        {"&lt\tx", "&lt\tx"},
        {"&lt\vx", "&lt\vx"},
        {"&&lt;", "&&lt;"},
        {"&x\v&lt;", "&x\v<"},
        {"&x\n&lt;", "&x\n<"},
        {"& &lt;", "& <"},
        {"&x;&lt;", "&x;<"},
        {"&amp;lt;", "&lt;"},
        {"&#042;", "&#042;"},
        {"&#39;", "&#39;"},
        {"&ltt;", "&ltt;"},
        {"&#4", "&#4"},
        {"x&amp;", "x&"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Result(DecodeEntities, row.text), row.decoded);
    }
}

TEST(DecodeEntities, PassesEveryOtherByte)
{
    for (int byte = 0; byte < 256; ++byte) {
        std::string text = std::string("x") + char(byte) + "y";
        EXPECT_EQ(Result(DecodeEntities, text), text) << byte;
    }
}

TEST(EncodeAttribute, KeepsOnlyWhatIsPlainInAURL)
{
    static const char kKept[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789*-.@_";
    for (int byte = 0; byte < 256; ++byte) {
        std::string expected = Hex("%", byte);
        if (byte == ' ')
            expected = "+";
        else if (byte != 0 && std::strchr(kKept, byte))
            expected = std::string(1, char(byte));
        EXPECT_EQ(Result(EncodeAttribute, std::string(1, char(byte))), expected) << byte;
    }
}

TEST(DecodeAttribute, DecodesEveryByteInBothCases)
{
    for (int byte = 0; byte < 256; ++byte) {
        std::string upper = Hex("%", byte), lower = upper;
        for (char& c : lower)
            c = c >= 'A' && c <= 'F' ? char(c - 'A' + 'a') : c;
        EXPECT_EQ(Result(DecodeAttribute, "x" + upper + "y"), std::string("x") + char(byte) + "y");
        EXPECT_EQ(Result(DecodeAttribute, lower), std::string(1, char(byte)));
        std::string plain = byte == '+' ? " " : std::string(1, char(byte));
        EXPECT_EQ(Result(DecodeAttribute, std::string(1, char(byte))), plain);
    }
}

TEST(DecodeAttribute, LeavesAPercentSignWithoutTwoDigits)
{
    static const struct {
        const char* text;
        const char* decoded;
    } rows[] = {
        {"a+b%2", "a b%2"}, {"%41", "A"},   {"x%41", "xA"}, {"%", "%"},     {"%4", "%4"},
        {"%4g", "%4g"},     {"%g4", "%g4"}, {"%%41", "%A"}, {"%2b", "+"},   {"%4%41", "%4A"},
        {"%@1", "%@1"},     {"%1`", "%1`"}, {"%/0", "%/0"}, {"%:0", "%:0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Result(DecodeAttribute, row.text), row.decoded);
    }
    int length;
    char* array = DecodeAttribute("%41", 2, &length, nullptr);
    EXPECT_STREQ(array, "%4");
    delete[] array;
}

TEST(EncodeJavaScriptString, EncodesEveryByteOfAPlainCharacterSet)
{
    static const char kKept[] =
        " $+,-.0123456789:@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    for (int byte = 0; byte < 256; ++byte) {
        std::string expected = Hex("\\u00", byte);
        if ((byte != 0 && byte < 128 && std::strchr(kKept, byte)) || byte > 159)
            expected = std::string(1, char(byte));
        else if (byte == '"' || byte == '/' || byte == '\\')
            expected = std::string("\\") + char(byte);
        else if (byte == 7)
            expected = "\\b";
        else if (byte == 9)
            expected = "\\t";
        else if (byte == 10)
            expected = "\\n";
        else if (byte == 12)
            expected = "\\f";
        else if (byte == 13)
            expected = "\\r";
        EXPECT_EQ(Result(JavaScriptPlain, std::string(1, char(byte))), expected) << byte;
        // A lead byte with nothing behind it is a single byte in UTF-8 as well.
        if (byte > 127)
            expected = Hex("\\u00", byte);
        EXPECT_EQ(Result(JavaScriptUTF8, std::string(1, char(byte))), expected) << byte;
    }
}

TEST(EncodeJavaScriptString, EncodesCharactersOfUTF8)
{
    static const struct {
        const char* text;
        const char* encoded;
    } rows[] = {
        {"\xC3\xA4", "\\u00E4"},
        {"\xC2\x80", "\\u0080"},
        {"\xDF\xBF", "\\u07FF"},
        {"\xE2\x82\xAC", "\\u20AC"},
        {"\xE0\xA0\x80", "\\u0800"},
        {"\xEF\xBF\xBF", "\\uFFFF"},
        {"\xF0\x90\x80\x80", "\\uD800\\uDC00"},
        {"\xF0\x9F\x98\x80", "\\uD83D\\uDE00"},
        // Above plane 1 the bits of the plane are lost.
        {"\xF0\xA0\x80\x80", "\\uD800\\uDC00"},
        {"\xF4\x8F\xBF\xBF", "\\uD83F\\uDFFF"},
        {"\xF5\x90\x80\x80", "\\uD900\\uDC00"},
        {"a\xC3\xA4z", "a\\u00E4z"},
        {"\xC3", "\\u00C3"},
        {"\xE2\x82", "\\u00E2\\u0082"},
        {"\xF0\x9F\x98", "\\u00F0\\u009F\\u0098"},
        {"\xE2\x82\xC3\xA4", "\\u2083\\u00A4"},
        {"\x80\xC1\xF8", "\\u0080\\u00C1\\u00F8"},
        {"\xF8zzz", "\\u00F8zzz"},
        {"\xFFzzz", "\\u00FFzzz"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.encoded);
        EXPECT_EQ(Result(JavaScriptUTF8, row.text), row.encoded);
    }
}

TEST(StripNULLs, DropsNulBytesOnly)
{
    std::string all, kept;
    for (int byte = 0; byte < 256; ++byte) {
        all += char(byte);
        all += '\0';
        if (byte)
            kept += char(byte);
    }
    EXPECT_EQ(Result(StripNULLs, all), kept);
    EXPECT_EQ(Result(StripNULLs, std::string(3, '\0')), "");
}
