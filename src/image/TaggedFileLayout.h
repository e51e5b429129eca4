#ifndef ZEPH_IMAGE_TAGGEDFILELAYOUT_H
#define ZEPH_IMAGE_TAGGEDFILELAYOUT_H

// A compiled file. All numbers are little-endian.
//
//   header
//    0   4  magic "Zeph"
//    4   4  version, unsigned
//    8  16  identifier, opaque
//   24   4  directory_offset, in the file
//   28   4  directory_entries
//   32      bodies of the sections
//   directory, one entry for each section
//    0   4  tag
//    4   4  offset of the body in the file
//    8   4  size of the body in bytes

inline constexpr char kMagic[4] = {'Z', 'e', 'p', 'h'};
inline constexpr int kVersionAt = 4;
inline constexpr int kIdentifierAt = 8;
inline constexpr int kDirectoryOffsetAt = 24;
inline constexpr int kDirectoryEntriesAt = 28;
inline constexpr int kHeaderSize = 32;

inline constexpr int kDirectoryEntrySize = 12;
// The last number of entries whose bytes an int can count.
inline constexpr int kMaximumDirectoryEntries = 0xAAAAAAA;

#endif
