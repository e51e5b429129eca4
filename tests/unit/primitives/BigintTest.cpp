#include "primitives/bigint.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

typedef unsigned __int128 Wide;

// Frees what a test holds.
class Held {
public:
    explicit Held(Bigint* b) : m_b(b) {}
    ~Held() { Bfree(m_b); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Bigint* get() const { return m_b; }
    Bigint* release()
    {
        Bigint* b = m_b;
        m_b = nullptr;
        return b;
    }

private:
    Bigint* m_b;
};

Bigint* FromWide(Wide value)
{
    Held high(lshift(i2b(uint64_t(value >> 64)), 64));
    uint64_t low = uint64_t(value);
    if (high.get()->wds == 1)
        return i2b(low);
    high.get()->x()[0] = uint32_t(low);
    high.get()->x()[1] = uint32_t(low >> 32);
    return high.release();
}

Wide ToWide(const Bigint* b)
{
    Wide value = 0;
    EXPECT_LE(b->wds, 4);
    for (int i = b->wds - 1; i >= 0; --i)
        value = value << 32 | b->x()[i];
    return value;
}

// In hexadecimal digits, to compare and to print numbers of any size.
std::string Text(const Bigint* b)
{
    std::string text;
    char word[9];
    for (int i = b->wds - 1; i >= 0; --i) {
        std::snprintf(word, sizeof word, "%08x", b->x()[i]);
        text += word;
    }
    return text;
}

std::string TakenText(Bigint* b)
{
    Held held(b);
    return Text(held.get());
}

uint64_t RandomBits(std::mt19937_64& random)
{
    return random() >> (random() % 64);
}

}  // namespace

TEST(Bigint, SmallNumbersKeepOneWord)
{
    EXPECT_EQ(TakenText(i2b(0)), "00000000");
    EXPECT_EQ(TakenText(i2b(0xFFFFFFFFu)), "ffffffff");
    EXPECT_EQ(TakenText(i2b(0x100000000u)), "0000000100000000");
    EXPECT_EQ(Bcount(), 0);
}

TEST(Bigint, MultaddGrowsByAWord)
{
    EXPECT_EQ(TakenText(multadd(i2b(~uint64_t(0)), 10, 9)), "00000009ffffffffffffffff");
    EXPECT_EQ(TakenText(multadd(i2b(~uint64_t(0)), 1, 1)), "000000010000000000000000");
    EXPECT_EQ(TakenText(multadd(i2b(0), 7, 5)), "00000005");
    EXPECT_EQ(Bcount(), 0);
}

TEST(Bigint, ArithmeticAgreesWithThatOf128Bits)
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        uint64_t a = RandomBits(random), b = RandomBits(random);
        Held held_a(i2b(a)), held_b(i2b(b));
        Held product(mult(held_a.get(), held_b.get()));
        ASSERT_EQ(ToWide(product.get()), Wide(a) * b) << a << " " << b;
        Held difference(diff(held_a.get(), held_b.get()));
        ASSERT_EQ(ToWide(difference.get()), Wide(a < b ? b - a : a - b)) << a << " " << b;
        ASSERT_EQ(difference.get()->sign, a < b ? 1 : 0);
        ASSERT_EQ(cmp(held_a.get(), held_b.get()), a < b ? -1 : a > b ? 1 : 0);
        int shift = int(random() % 64);
        Held shifted(lshift(i2b(a), shift));
        ASSERT_EQ(ToWide(shifted.get()), Wide(a) << shift) << a << " " << shift;
    }
    EXPECT_EQ(Bcount(), 0);
}

TEST(Bigint, DiffBorrowsThroughZeroWords)
{
    Held large(lshift(i2b(1), 160)), one(i2b(1));
    EXPECT_EQ(TakenText(diff(large.get(), one.get())), std::string(40, 'f'));
    Held swapped(diff(one.get(), large.get()));
    EXPECT_EQ(Text(swapped.get()), std::string(40, 'f'));
    EXPECT_EQ(swapped.get()->sign, 1);
    Held nothing(diff(large.get(), large.get()));
    EXPECT_EQ(Text(nothing.get()), "00000000");
    EXPECT_EQ(nothing.get()->sign, 0);
}

TEST(Bigint, PowersOfFiveAreThoseOfRepeatedMultiplication)
{
    Bigint* step = i2b(3);
    for (int k = 0; k <= 700; ++k) {
        ASSERT_EQ(TakenText(pow5mult(i2b(3), k)), Text(step)) << k;
        step = multadd(step, 5, 0);
    }
    Bfree(step);
    EXPECT_EQ(Bcount(), 0);
}

TEST(Bigint, LshiftMovesWholeWordsAndBits)
{
    EXPECT_EQ(TakenText(lshift(i2b(1), 0)), "00000001");
    EXPECT_EQ(TakenText(lshift(i2b(0x80000000u), 1)), "0000000100000000");
    EXPECT_EQ(TakenText(lshift(i2b(0x12345678u), 68)),
              "00000001"
              "23456780"
              "00000000"
              "00000000");
    EXPECT_EQ(TakenText(lshift(i2b(0), 40)), "00000000");
}

TEST(Bigint, QuoremDividesToADigitAndLeavesTheRest)
{
    std::mt19937_64 random(11);
    for (int i = 0; i < 20000; ++i) {
        // The highest word has 28 bits; often the words below are all ones or zeros,
        // where the quotient of the top words is off by one.
        Wide low = i % 3 == 0 ? ~uint64_t(0) : i % 3 == 1 ? 0 : random();
        Wide top = i % 2 == 0 ? 0x08000000u : (random() | 0x08000000u) & 0x0FFFFFFFu;
        Wide s = top << 64 | low;
        Wide digit = random() % 10;
        Wide rest = i % 5 == 0 ? s - 1 : i % 5 == 1 ? 0 : (Wide(random()) << 32 | random()) % s;
        Held divisor(FromWide(s)), number(FromWide(s * digit + rest));
        ASSERT_EQ(quorem(number.get(), divisor.get()), int(digit));
        ASSERT_EQ(ToWide(number.get()), rest);
    }
    EXPECT_EQ(Bcount(), 0);
}

TEST(Bigint, Hi0bitsCountsTheZerosAtTheTop)
{
    EXPECT_EQ(hi0bits(0), 32);
    EXPECT_EQ(hi0bits(1), 31);
    EXPECT_EQ(hi0bits(0x0FFFFFFFu), 4);
    EXPECT_EQ(hi0bits(0x80000000u), 0);
}

TEST(Bigint, LiveNumbersAreCounted)
{
    Bigint* first = Balloc(0);
    Bigint* second = Balloc(5);
    EXPECT_EQ(second->k, 5);
    EXPECT_EQ(Bcount(), 2);
    Bfree(first);
    Bfree(nullptr);
    EXPECT_EQ(Bcount(), 1);
    Bfree(second);
    EXPECT_EQ(Bcount(), 0);
}
