#pragma once

// The program's allocator, set for worlds of millions of instances.
//
// Building such a world and publishing its tree allocate hundreds of
// megabytes in small pieces, and on a virtual machine the page fault that
// first touches each fresh 4 kB page costs far more than filling it: about a
// third of the module's time in a million-instance registration went to
// them. glibc's allocator can ask for transparent huge pages, but only for
// its main arena and only when told so by GLIBC_TUNABLES, which it reads
// once, as the process starts. So the program runs itself again, once, with
// those settings added to whatever GLIBC_TUNABLES the user gave: huge pages,
// and one arena so that every thread's memory comes from the one that gets
// them. A user who set glibc.malloc.hugetlb or glibc.malloc.arena_max keeps
// the settings as given.
//
// Call first thing in main, before any thread starts. Returns only if the
// program is to go on as it is (already set, or the new start failed).
void RunWithTunedAllocator(char** argv);
