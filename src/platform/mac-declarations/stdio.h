#pragma once
// Darwin's additions to <stdio.h>, then the system's own header.

#include_next <stdio.h>

extern "C" {

// renamex_np(2): RENAME_SWAP exchanges two existing items in one step; RENAME_EXCL fails
// rather than replace an existing destination.
#define RENAME_SWAP 0x00000002
#define RENAME_EXCL 0x00000004

int renamex_np(const char* from, const char* to, unsigned int flags);

} // extern "C"
