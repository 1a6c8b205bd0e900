#pragma once
// libproc.h and sys/proc_info.h, as far as the _mac sources use them.

#include <cstdint>
#include <sys/types.h>

extern "C" {

#define PROC_ALL_PIDS 1
#define PROC_PIDPATHINFO_MAXSIZE (4 * 1024)

int proc_listpids(std::uint32_t type, std::uint32_t typeinfo, void* buffer, int buffersize);
int proc_pidpath(int pid, void* buffer, std::uint32_t buffersize);

} // extern "C"
