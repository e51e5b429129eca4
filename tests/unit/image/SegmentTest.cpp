#include "image/Segment.h"

#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "image/PreparedCode.h"

namespace {

TEST(Segment, NewOneIsEmptyAndZero)
{
    Segment segment(7);
    EXPECT_EQ(segment.number(), 7);
    EXPECT_EQ(segment.capacity(), 8192);
    EXPECT_EQ(segment.size(), 0);
    for (int i = 0; i < 8192 + Segment::kSpareBytes; ++i)
        ASSERT_EQ(segment.code()[i], 0);
}

TEST(Segment, ValuesStandInLittleEndianForm)
{
    Segment segment(0);
    EXPECT_EQ(segment.Write_Byte(0, 0xFE), 1);
    EXPECT_EQ(segment.Write_Word(1, 0x1234), 3);
    EXPECT_EQ(segment.Write_Dword(3, -2), 7);
    EXPECT_EQ(segment.Write_Double(7, -1.5), 15);
    EXPECT_EQ(segment.size(), 15);
    EXPECT_EQ(std::string(segment.code(), 15),
              std::string("\xFE\x34\x12\xFE\xFF\xFF\xFF\0\0\0\0\0\0\xF8\xBF", 15));
    unsigned char byte;
    unsigned short word;
    int dword;
    double number;
    EXPECT_EQ(segment.Read_Byte(0, &byte), 1);
    EXPECT_EQ(segment.Read_Word(1, &word), 3);
    EXPECT_EQ(segment.Read_Dword(3, &dword), 7);
    EXPECT_EQ(segment.Read_Double(7, &number), 15);
    EXPECT_EQ(byte, 0xFE);
    EXPECT_EQ(word, 0x1234);
    EXPECT_EQ(dword, -2);
    EXPECT_EQ(number, -1.5);
}

TEST(Segment, ReadPastTheSizeFails)
{
    Segment segment(0);
    segment.Write_Byte(99, 1);  // the size is 100
    unsigned char byte = 9;
    unsigned short word = 9;
    int dword = 9;
    double number = 9;
    static const struct {
        int width, position, result;
    } rows[] = {
        {1, 99, 100}, {1, 100, -1}, {1, -1, -1},  {2, 98, 100}, {2, 99, -1},
        {4, 96, 100}, {4, 97, -1},  {8, 92, 100}, {8, 93, -1},  {8, 0x7FFFFFFF, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.width) + " at " + std::to_string(row.position));
        int result = row.width == 1   ? segment.Read_Byte(row.position, &byte)
                     : row.width == 2 ? segment.Read_Word(row.position, &word)
                     : row.width == 4 ? segment.Read_Dword(row.position, &dword)
                                      : segment.Read_Double(row.position, &number);
        EXPECT_EQ(result, row.result);
    }
}

TEST(Segment, WriteUpToTheCapacityDoesNotGrow)
{
    Segment segment(0);
    EXPECT_EQ(segment.Write_Double(8184, 1), 8192);
    EXPECT_EQ(segment.capacity(), 8192);
    EXPECT_EQ(segment.size(), 8192);
    EXPECT_EQ(segment.Write_Byte(8192, 1), 8193);
    EXPECT_EQ(segment.capacity(), 16384);
    EXPECT_EQ(segment.size(), 8193);
}

TEST(Segment, GrowthKeepsTheCodeAndZeroesTheRest)
{
    Segment segment(0);
    for (int i = 0; i < 8192; ++i)
        segment.Write_Byte(i, static_cast<unsigned char>(i));
    segment.Grow(8193);
    EXPECT_EQ(segment.capacity(), 16384);
    for (int i = 0; i < 8192; ++i)
        ASSERT_EQ(segment.code()[i], char(i));
    for (int i = 8192; i < 16384 + Segment::kSpareBytes; ++i)
        ASSERT_EQ(segment.code()[i], 0);
    segment.Grow(24576);
    EXPECT_EQ(segment.capacity(), 24576);
    segment.Grow(1);
    EXPECT_EQ(segment.capacity(), 24576);
}

TEST(Segment, SizeNeverFallsAndGapsAreZero)
{
    Segment segment(0);
    segment.Write_Dword(100, -1);
    segment.Write_Dword(0, -1);
    EXPECT_EQ(segment.size(), 104);
    EXPECT_EQ(segment.code()[50], 0);
}

TEST(Segment, ImpossiblePositionWritesNothing)
{
    Segment segment(0);
    EXPECT_EQ(segment.Write_Byte(-1, 1), -1);
    EXPECT_EQ(segment.Write_Double(0x7FFFFFFF, 1), -1);
    EXPECT_EQ(segment.size(), 0);
    EXPECT_EQ(segment.capacity(), 8192);
}

TEST(Segment, TakenBufferGrowsToWholeBlocks)
{
    char* code = Segment::AllocateCode(5);
    ASSERT_TRUE(code);
    memcpy(code, "12345", 5);
    Segment segment(3, code, 5, 5);
    EXPECT_EQ(segment.code(), code);
    for (int i = 0; i < Segment::kSpareBytes; ++i)
        EXPECT_EQ(code[5 + i], 0);
    EXPECT_EQ(segment.Write_Byte(3, '!'), 4);
    EXPECT_EQ(segment.capacity(), 5);
    EXPECT_EQ(segment.Write_Byte(5, '6'), 6);
    EXPECT_EQ(segment.capacity(), 8192);
    EXPECT_EQ(std::string(segment.code(), 6), "123!56");
}

TEST(Segment, CopySharesNothing)
{
    Segment segment(3);
    segment.Write_Dword(0, 42);
    Segment copy(segment);
    segment.Write_Dword(0, 43);
    int value = 0;
    EXPECT_EQ(copy.Read_Dword(0, &value), 4);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(copy.number(), 3);
    EXPECT_EQ(copy.size(), 4);
    EXPECT_EQ(copy.capacity(), 8192);
}

}  // namespace

namespace {

struct Prepared : PreparedCode {
    explicit Prepared(int* count) : ended(count) {}
    ~Prepared() override { ++*ended; }
    int* ended;
};

}  // namespace

TEST(Segment, WhatWasPreparedEndsWithTheCodeThatItWasMadeOf)
{
    int ended = 0;
    {
        Segment segment(0);
        segment.Write_Byte(0, 1);
        segment.SetPrepared(new Prepared(&ended));
        segment.Write_Dword(100, 5);
        EXPECT_EQ(ended, 1);
        EXPECT_EQ(segment.prepared(), nullptr);
        Prepared* prepared = new Prepared(&ended);
        segment.SetPrepared(prepared);
        segment.SetPrepared(prepared);
        Segment copy(segment);
        EXPECT_EQ(copy.prepared(), nullptr);
        segment.Grow(100000);
        EXPECT_EQ(ended, 2);
        segment.SetPrepared(new Prepared(&ended));
    }
    EXPECT_EQ(ended, 3);
}
