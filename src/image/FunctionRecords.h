#ifndef ZEPH_IMAGE_FUNCTIONRECORDS_H
#define ZEPH_IMAGE_FUNCTIONRECORDS_H

// The "func" section. All numbers are signed.
//
//   7 bytes      header, and bucket records: see BucketRecords.h
//   4 x count    for each function, the next one of its chain, -1 at the end
//   for each function:
//    0   4  name             dictionary index
//    4   4  parameter_count
//    8   4  flags            see Function
//   12   4  segment          -1 for a function without code
//   16   4  offset           of the entry point in bytes; -1 likewise
//      for each parameter:
//       0   4  name          dictionary index
//       4   4  flags         see FunctionParameter
//       8   4  slot          in the table of locals
//      the table of locals   see VariableHash

inline constexpr int kFunctionNameAt = 0;
inline constexpr int kFunctionParametersAt = 4;
inline constexpr int kFunctionFlagsAt = 8;
inline constexpr int kFunctionSegmentAt = 12;
inline constexpr int kFunctionOffsetAt = 16;
inline constexpr int kFunctionSize = 20;

inline constexpr int kParameterNameAt = 0;
inline constexpr int kParameterFlagsAt = 4;
inline constexpr int kParameterSlotAt = 8;
inline constexpr int kParameterSize = 12;

inline constexpr int kMaximumFunctions = 0xFFFFFFF;
inline constexpr int kMaximumParameters = 0xAAAAAAA;

#endif
