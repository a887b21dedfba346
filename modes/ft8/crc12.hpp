// The 12-bit CRC that hosts use; nothing in the library calls it.
#pragma once

namespace ferrow {

// Augmented CRC, polynomial 0xC06, start 0: no zero bits are appended. A length of 0 or less gives 0.
int crc12(const unsigned char* data, int length);

// Whether crc12 is 0.
bool crc12_check(const unsigned char* data, int length);

} // namespace ferrow
