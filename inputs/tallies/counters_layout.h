/* SPDX-License-Identifier: MIT */
/* The layout of a counter segment: POSIX shared memory in which one process counts the packets and bytes of tunnels and
 * others read them. docs/counters.md has the whole contract; this header is its form for programs, in C11 and C++.
 *
 *    tallies_header                       never changes once the segment has its name
 *    tallies_entry x header.slots         a hash table with open addressing
 *
 * Numbers are in the byte order of the machine. */
#ifndef TALLIES_COUNTERS_LAYOUT_H
#define TALLIES_COUNTERS_LAYOUT_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Where the system keeps POSIX shared memory; a segment's file is named like the segment. */
#define TALLIES_FOLDER "/dev/shm/"

/* "MPLTALL1" in the memory of a little-endian machine. */
#define TALLIES_MAGIC UINT64_C(0x314c4c41544c504d)

/* Keys that stand for no tunnel: a slot that was never used or is as good as new, and one whose tunnel was removed. */
#define TALLIES_EMPTY UINT64_C(0)
#define TALLIES_REMOVED UINT64_MAX

enum {
   TALLIES_LAYOUT_VERSION = 1,
   TALLIES_HEADER_SIZE = 64,
   TALLIES_ENTRY_SIZE = 64,
   /* Octets of a segment's name, without its leading slash. */
   TALLIES_LONGEST_NAME = 200,
   /* Entries that a table may be made for. */
   TALLIES_LARGEST_CAPACITY = 1 << 20,
   TALLIES_FEWEST_SLOTS = 16,
   /* An entry is fewer than this many slots behind its home slot. */
   TALLIES_LONGEST_CHAIN = 1024
};

typedef struct tallies_header {
   uint64_t magic;       /* TALLIES_MAGIC */
   uint32_t version;     /* TALLIES_LAYOUT_VERSION */
   uint32_t header_size; /* octets: TALLIES_HEADER_SIZE */
   uint32_t entry_size;  /* octets: TALLIES_ENTRY_SIZE */
   uint32_t capacity;    /* entries that the table takes, 1 to TALLIES_LARGEST_CAPACITY */
   uint32_t slots;       /* tallies_slots(capacity) */
   uint32_t reserved;    /* 0 */
   uint64_t instance;    /* drawn at random when the segment is made: tells it from its successor */
   uint64_t created;     /* when, in nanoseconds since 1970-01-01 00:00 UTC */
   uint64_t reserved2;   /* 0 */
   uint64_t check;       /* tallies_header_check */
} tallies_header;

/* A counter at one moment. */
typedef struct tallies_record {
   uint64_t packets;
   uint64_t bytes;
   uint64_t check; /* tallies_record_check: proves that the three belong together, here and now */
} tallies_record;

/* A slot. Record `sequence & 1` is the current one; the other is where the writer prepares the next. A change of the
 * entry is always one store of one word: `key` or `sequence`. */
typedef struct tallies_entry {
   uint64_t key;      /* the tunnel value, TALLIES_EMPTY or TALLIES_REMOVED */
   uint64_t sequence; /* counts the updates of the slot; 0 in an empty one */
   tallies_record records[2];
} tallies_entry;

static_assert(sizeof(tallies_header) == TALLIES_HEADER_SIZE, "a header is one cache line");
static_assert(sizeof(tallies_entry) == TALLIES_ENTRY_SIZE, "an entry is one cache line");

static inline int tallies_is_tunnel(uint64_t key) { return key != TALLIES_EMPTY && key != TALLIES_REMOVED; }

/* Spreads the bits of `word`: every bit of the result depends on all of them. */
static inline uint64_t tallies_mix(uint64_t word) {
   word = (word ^ (word >> 30)) * UINT64_C(0xbf58476d1ce4e5b9);
   word = (word ^ (word >> 27)) * UINT64_C(0x94d049bb133111eb);
   return word ^ (word >> 31);
}

/* The checksum of `count` words. */
static inline uint64_t tallies_check(uint64_t const* words, size_t count) {
   uint64_t check = TALLIES_MAGIC;
   for (size_t i = 0; i < count; ++i) check = tallies_mix(check ^ words[i]);
   return check;
}

static inline uint64_t tallies_header_check(tallies_header const* header) {
   uint64_t words[offsetof(tallies_header, check) / sizeof(uint64_t)];
   memcpy(words, header, sizeof words);
   return tallies_check(words, sizeof words / sizeof words[0]);
}

/* The checksum of a record that is current in slot number `slot` while that holds `key` and `sequence`. */
static inline uint64_t tallies_record_check(uint64_t key, uint32_t slot, uint64_t sequence, uint64_t packets,
                                            uint64_t bytes) {
   uint64_t const words[] = {key, slot, sequence, packets, bytes};
   return tallies_check(words, sizeof words / sizeof words[0]);
}

/* The number of slots, a power of two, that keeps a table of `capacity` entries at most half full. */
static inline uint32_t tallies_slots(uint32_t capacity) {
   uint32_t slots = TALLIES_FEWEST_SLOTS;
   while (slots / 2 < capacity) slots *= 2;
   return slots;
}

/* Octets of a whole segment. */
static inline uint64_t tallies_segment_size(uint32_t slots) {
   return TALLIES_HEADER_SIZE + (uint64_t)slots * TALLIES_ENTRY_SIZE;
}

/* Where the search for `key` begins in a table of `slots` slots. It goes on slot by slot, from the last one to slot 0,
 * and ends at an empty slot or after tallies_chain_length(slots). */
static inline uint32_t tallies_home(uint64_t key, uint32_t slots) { return (uint32_t)tallies_mix(key) & (slots - 1U); }

static inline uint32_t tallies_chain_length(uint32_t slots) {
   return slots < TALLIES_LONGEST_CHAIN ? slots : (uint32_t)TALLIES_LONGEST_CHAIN;
}

typedef enum tallies_fault {
   TALLIES_SOUND,
   TALLIES_WRONG_MAGIC,
   TALLIES_WRONG_VERSION,
   TALLIES_WRONG_CHECK,
   TALLIES_WRONG_SIZE, /* the sizes in a header, or the size of the segment */
   TALLIES_WRONG_PLACE /* an entry where no search for its key comes by */
} tallies_fault;

/* What is wrong with the header of a segment of `size` octets, or TALLIES_SOUND. */
static inline tallies_fault tallies_header_fault(tallies_header const* header, uint64_t size) {
   if (header->magic != TALLIES_MAGIC) return TALLIES_WRONG_MAGIC;
   if (header->version != TALLIES_LAYOUT_VERSION) return TALLIES_WRONG_VERSION;
   if (header->check != tallies_header_check(header)) return TALLIES_WRONG_CHECK;
   if (header->header_size != TALLIES_HEADER_SIZE || header->entry_size != TALLIES_ENTRY_SIZE ||
       header->capacity == 0 || header->capacity > TALLIES_LARGEST_CAPACITY ||
       header->slots != tallies_slots(header->capacity) || size != tallies_segment_size(header->slots)) {
      return TALLIES_WRONG_SIZE;
   }
   return TALLIES_SOUND;
}

/* What is wrong with a copy of slot number `slot` of a table of `slots` slots, or TALLIES_SOUND. A copy that was made
 * while the writer changed the slot is taken for a wrong one, never for a sound one. */
static inline tallies_fault tallies_entry_fault(tallies_entry const* entry, uint32_t slot, uint32_t slots) {
   if (entry->key == TALLIES_EMPTY) return entry->sequence == 0 ? TALLIES_SOUND : TALLIES_WRONG_CHECK;
   if (entry->key == TALLIES_REMOVED) return TALLIES_SOUND;
   uint32_t const distance = (slot - tallies_home(entry->key, slots)) & (slots - 1U);
   if (distance >= tallies_chain_length(slots)) return TALLIES_WRONG_PLACE;
   tallies_record const* record = &entry->records[entry->sequence & 1U];
   uint64_t const check = tallies_record_check(entry->key, slot, entry->sequence, record->packets, record->bytes);
   return record->check == check ? TALLIES_SOUND : TALLIES_WRONG_CHECK;
}

#ifdef __cplusplus
}
#endif

#endif
