/* SPDX-License-Identifier: MIT */
/* The life of a counter segment on the writer's side: made, locked, checked, mapped. Not installed. */
#ifndef TALLIES_WRITER_SEGMENT_H
#define TALLIES_WRITER_SEGMENT_H

#include <stddef.h>

#include "inputs/tallies/counters_layout.h"
#include "inputs/tallies/writer/tallies_writer.h"

/* A segment that this process writes to. The descriptor holds the lock that makes it the only writer. */
typedef struct tallies_segment {
   char path[256];
   int fd;
   size_t size;
   void* memory;
   tallies_entry* entries;
   /* As the header had them when it was checked. */
   uint32_t capacity;
   uint32_t slots;
   uint32_t used; /* slots that hold a tunnel */
} tallies_segment;

/* Where the search for a key has ended. */
typedef struct tallies_place {
   uint32_t slot; /* that of the key; or the one to put it into; or TALLIES_NO_SLOT */
   int found;     /* whether the key is there */
} tallies_place;

#define TALLIES_NO_SLOT UINT32_MAX

/* Looks for `key` in `slots` slots. */
tallies_place tallies_locate(tallies_entry const* entries, uint32_t slots, uint64_t key);

/* Opens or makes the segment `name` as tallies_writer_open says. On failure there is nothing to close. */
tallies_status tallies_segment_open(char const* name, tallies_options const* options, tallies_segment* segment);

void tallies_segment_close(tallies_segment* segment);

/* TALLIES_ABSENT when the segment no longer has its name. */
tallies_status tallies_segment_check(tallies_segment const* segment);

#endif
