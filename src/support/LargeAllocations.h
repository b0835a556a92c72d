// How the C library's allocator treats large blocks.
//
// By default glibc serves a block of 128 KiB or more with a mapping of its own, which goes back
// to the system when it is freed, but it raises that bound to the size of every such block that
// is freed (up to 32 MiB). After the first exported frame, every picture, page and encoder
// plane below 32 MiB is then carved out of the heap, and what is freed in between stays with the
// process: a 4K export kept about 260 MB more than it was using.
#pragma once

// From now on every block of 1 MiB or more is mapped on its own and returned to the system when
// freed; the bound no longer moves. Called once at the start of the program, before threads.
void returnLargeBlocksToTheSystem();
