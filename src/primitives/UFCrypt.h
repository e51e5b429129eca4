#ifndef ZEPH_PRIMITIVES_UFCRYPT_H
#define ZEPH_PRIMITIVES_UFCRYPT_H

#include <stdint.h>

// The classic password hash crypt(3): 25 times DES over a block of zeros, with a salt
// of 12 bits that exchanges outputs of the expansion. It protects nothing by today's
// measure; it serves pages that compare with hashes which they have kept.
//
// An object holds some 160 KB of tables and takes a while to make, so there is one, made
// when it is first needed. Its tables stay as the last salt left them: hashing many keys
// with one salt is the common case and costs no work on them. For one thread at a time.
class UFCrypt {
public:
    UFCrypt() { UFC_Init(); }
    virtual ~UFCrypt() {}
    UFCrypt(const UFCrypt&) = delete;
    UFCrypt& operator=(const UFCrypt&) = delete;

    // Writes 13 characters and a NUL to `out`: the two bytes of `salt` as they are, then
    // the hash. Only 7 bits of each of the first 8 bytes of the key count, and none
    // behind a NUL. A salt byte outside "./0-9A-Za-z" counts as some member of it.
    void crypt(const char* key, int keylength, const char* salt, char* out);

private:
    void UFC_Init();
    void InitBoxes();
    void InitKeyTables();
    void InitFinal();
    void UFC_Salt(const char* salt);
    void UFC_Shuffle_Salt(uint64_t* table, uint32_t changed);
    void UFC_MakeKeyTable(const unsigned char* key);
    uint64_t Round(uint64_t half, int round) const;
    void UFC_Encrypt(uint64_t* left, uint64_t* right) const;
    uint64_t UFC_Final(uint64_t left, uint64_t right) const;
    static void UFC_Output(const char* salt, uint64_t hash, char* out);

    // The 48 bits of an expanded half, of a subkey and of an entry of the boxes stand in
    // two words of 24: each quarter of 16 bits has 12, the input of two S-boxes, below 4
    // that are 0.
    uint64_t m_keysched[16];
    // What a round adds to the other half, expanded and salted, for the inputs of two
    // neighbouring S-boxes: sbox, perm32 and esel in one step.
    uint64_t m_sb[4][4096];
    uint64_t m_pc1[8][128];  // pc1 of each key byte: C and D in 56 bits
    uint64_t m_pc2[8][128];  // pc2 of each 7 bits of C and D
    uint64_t m_efp[16][64];  // final_perm of each 6 bits of the two expanded halves
    char m_salt[2];          // last applied
    uint32_t m_saltbits;     // set where the words of a half are exchanged
};

#endif
