/* SPDX-License-Identifier: MIT */
#include "inputs/tallies/writer/tallies_writer.h"

#include <stdlib.h>

#include "inputs/tallies/writer/segment.h"

/* How an entry changes while others read it, and while this process may be killed after any instruction: everything
 * that the change needs is written where no reader looks yet, then one word is stored that makes it count. */

struct tallies_writer {
   tallies_segment segment;
};

static void store(uint64_t* word, uint64_t value) { __atomic_store_n(word, value, __ATOMIC_RELAXED); }

/* Makes all that was stored so far count, by storing `value`. */
static void publish(uint64_t* word, uint64_t value) { __atomic_store_n(word, value, __ATOMIC_RELEASE); }

/* Keeps what follows from being seen before what was published: the place that is prepared next was just in use. */
static void begin(void) { __atomic_thread_fence(__ATOMIC_RELEASE); }

static void prepare(tallies_entry* entry, uint64_t key, uint32_t slot, uint64_t sequence, uint64_t packets,
                    uint64_t bytes) {
   tallies_record* const record = &entry->records[sequence & 1U];
   begin();
   store(&record->packets, packets);
   store(&record->bytes, bytes);
   store(&record->check, tallies_record_check(key, slot, sequence, packets, bytes));
}

static void update(tallies_entry* entry, uint32_t slot, uint64_t packets, uint64_t bytes) {
   uint64_t const next = entry->sequence + 1;
   prepare(entry, entry->key, slot, next, packets, bytes);
   publish(&entry->sequence, next);
}

/* Puts a tunnel into a free slot. */
static void occupy(tallies_entry* entry, uint64_t key, uint32_t slot, uint64_t packets, uint64_t bytes) {
   prepare(entry, key, slot, entry->sequence, packets, bytes);
   publish(&entry->key, key);
}

static tallies_place locate(tallies_writer const* writer, uint64_t tunnel) {
   return tallies_locate(writer->segment.entries, writer->segment.slots, tunnel);
}

static tallies_record current(tallies_entry const* entry) { return entry->records[entry->sequence & 1U]; }

uint64_t tallies_tunnel_value(tallies_tunnel_type type, uint32_t index) { return (uint64_t)type << 56 | index; }

char const* tallies_status_text(tallies_status status) {
   switch (status) {
      case TALLIES_OK:
         return "done";
      case TALLIES_FULL:
         return "the table is full";
      case TALLIES_BUSY:
         return "another process is its writer";
      case TALLIES_ABSENT:
         return "not there";
      case TALLIES_INVALID:
         return "invalid argument";
      case TALLIES_REFUSED:
         return "not a shared memory segment of this user";
      case TALLIES_DAMAGED:
         return "the segment is damaged";
      case TALLIES_MISMATCH:
         return "the segment has another capacity";
      case TALLIES_SYSTEM:
         return "the system refused";
   }
   return "unknown status";
}

tallies_status tallies_writer_open(char const* name, tallies_options const* options, tallies_writer** writer) {
   if (writer == NULL) return TALLIES_INVALID;
   *writer = NULL;
   tallies_options const defaults = {0};
   tallies_writer* const made = malloc(sizeof *made);
   if (made == NULL) return TALLIES_SYSTEM;
   tallies_status const status = tallies_segment_open(name, options ? options : &defaults, &made->segment);
   if (status == TALLIES_OK) {
      *writer = made;
   } else {
      free(made);
   }
   return status;
}

void tallies_writer_close(tallies_writer* writer) {
   if (writer == NULL) return;
   tallies_segment_close(&writer->segment);
   free(writer);
}

tallies_status tallies_writer_check(tallies_writer const* writer) { return tallies_segment_check(&writer->segment); }

tallies_status tallies_writer_set(tallies_writer* writer, uint64_t tunnel, uint64_t packets, uint64_t bytes) {
   if (!tallies_is_tunnel(tunnel)) return TALLIES_INVALID;
   tallies_segment* const segment = &writer->segment;
   tallies_place const place = locate(writer, tunnel);
   if (place.found) {
      update(&segment->entries[place.slot], place.slot, packets, bytes);
      return TALLIES_OK;
   }
   if (place.slot == TALLIES_NO_SLOT || segment->used >= segment->capacity) return TALLIES_FULL;
   occupy(&segment->entries[place.slot], tunnel, place.slot, packets, bytes);
   ++segment->used;
   return TALLIES_OK;
}

tallies_status tallies_writer_add(tallies_writer* writer, uint64_t tunnel, uint64_t packets, uint64_t bytes) {
   if (!tallies_is_tunnel(tunnel)) return TALLIES_INVALID;
   tallies_place const place = locate(writer, tunnel);
   if (!place.found) return tallies_writer_set(writer, tunnel, packets, bytes);
   tallies_entry* const entry = &writer->segment.entries[place.slot];
   tallies_record const was = current(entry);
   update(entry, place.slot, was.packets + packets, was.bytes + bytes);
   return TALLIES_OK;
}

/* Removed slots that no search needs to pass become empty, so that searches stay short. */
static void sweep(tallies_segment* segment, uint32_t slot) {
   uint32_t const last = segment->slots - 1;
   if (segment->entries[(slot + 1) & last].key != TALLIES_EMPTY) return;
   for (; segment->entries[slot].key == TALLIES_REMOVED; slot = (slot - 1) & last) {
      begin();
      store(&segment->entries[slot].sequence, 0);
      publish(&segment->entries[slot].key, TALLIES_EMPTY);
   }
}

tallies_status tallies_writer_remove(tallies_writer* writer, uint64_t tunnel) {
   if (!tallies_is_tunnel(tunnel)) return TALLIES_ABSENT;
   tallies_place const place = locate(writer, tunnel);
   if (!place.found) return TALLIES_ABSENT;
   publish(&writer->segment.entries[place.slot].key, TALLIES_REMOVED);
   sweep(&writer->segment, place.slot);
   --writer->segment.used;
   return TALLIES_OK;
}

tallies_status tallies_writer_find(tallies_writer const* writer, uint64_t tunnel, uint64_t* packets, uint64_t* bytes) {
   if (!tallies_is_tunnel(tunnel)) return TALLIES_ABSENT;
   tallies_place const place = locate(writer, tunnel);
   if (!place.found) return TALLIES_ABSENT;
   tallies_record const record = current(&writer->segment.entries[place.slot]);
   if (packets) *packets = record.packets;
   if (bytes) *bytes = record.bytes;
   return TALLIES_OK;
}

tallies_status tallies_writer_next(tallies_writer const* writer, uint32_t* cursor, tallies_counter* counter) {
   tallies_segment const* const segment = &writer->segment;
   while (*cursor < segment->slots) {
      tallies_entry const* const entry = &segment->entries[(*cursor)++];
      if (!tallies_is_tunnel(entry->key)) continue;
      tallies_record const record = current(entry);
      *counter = (tallies_counter){.tunnel = entry->key, .packets = record.packets, .bytes = record.bytes};
      return TALLIES_OK;
   }
   return TALLIES_ABSENT;
}

uint32_t tallies_writer_size(tallies_writer const* writer) { return writer->segment.used; }
uint32_t tallies_writer_capacity(tallies_writer const* writer) { return writer->segment.capacity; }
