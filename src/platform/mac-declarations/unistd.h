#pragma once
// Darwin's additions to <unistd.h>, then the system's own header.

#include <cstdint>
#include_next <unistd.h>

extern "C" {

// pathconf(2): 1 when the volume of the path compares names case-sensitively, 0 when not.
#define _PC_CASE_SENSITIVE 11
#define _PC_CASE_PRESERVING 12

int getattrlistbulk(int dirfd, void* attrList, void* attrBuf, size_t attrBufSize,
                    std::uint64_t options);

} // extern "C"
