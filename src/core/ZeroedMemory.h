#pragma once
#include <cstddef>

// Memory for sheet-sized buffers. Large blocks are mappings marked for huge pages, so a 4096 x 4096
// buffer costs a few hundred page faults instead of tens of thousands, and mappings given back are
// kept a while for the next buffer of about their size, which then costs no faults at all; small
// blocks come from the C heap. Null when the memory cannot be had. Every block must go back through
// FreeZeroed with the size it was asked for, which picks the matching release.
void* AllocateZeroed(std::size_t bytes);
// The same without the promise of zeros, for buffers the caller fills whole: a reused block is not
// cleared first.
void* AllocateScratch(std::size_t bytes);
void FreeZeroed(void* memory, std::size_t bytes);

// The product count * size in bytes, or false when it does not fit in std::size_t.
bool ZeroedBytesFor(std::size_t count, std::size_t size, std::size_t& bytes);

// Bytes handed out by AllocateZeroed and AllocateScratch and not yet freed.
std::size_t ZeroedBytesInUse();
// A ceiling on ZeroedBytesInUse: an allocation that would pass it fails as if the system had refused
// it. Lets a user keep Brondel inside a memory budget (BRONDEL_MEMORY_LIMIT, in MiB, when none is set
// here), and tests force an allocation failure without exhausting the machine. 0 means none.
void SetZeroedMemoryLimit(std::size_t bytes);
std::size_t GetZeroedMemoryLimit();
