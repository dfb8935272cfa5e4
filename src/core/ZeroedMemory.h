#pragma once
#include <cstddef>

// Zero-filled memory for sheet-sized buffers. Large blocks are mapped straight from the system and
// marked for huge pages, so a 4096 x 4096 buffer costs a few hundred page faults instead of tens of
// thousands; small ones come from calloc. Null when the memory cannot be had.
void* AllocateZeroed(std::size_t bytes);
void FreeZeroed(void* memory, std::size_t bytes);
