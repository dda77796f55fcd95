/* SPDX-License-Identifier: MIT */
#define _GNU_SOURCE
#include "inputs/tallies/writer/segment.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

/* How often to begin anew when other writers come and go meanwhile. */
enum { attempts = 100 };

/* Another writer was quicker: begin anew. Never leaves this file. */
static tallies_status const try_again = (tallies_status)-1;

/* Closes a descriptor and keeps errno, which tells why. */
static void close_quietly(int fd) {
   int const reason = errno;
   close(fd);
   errno = reason;
}

static void unlink_quietly(char const* path) {
   int const reason = errno;
   unlink(path);
   errno = reason;
}

static tallies_status path_of(char const* name, char* path, size_t size) {
   if (name == NULL) return TALLIES_INVALID;
   if (*name == '/') ++name;
   size_t const length = strlen(name);
   if (length == 0 || length > TALLIES_LONGEST_NAME || strchr(name, '/') != NULL || strcmp(name, ".") == 0 ||
       strcmp(name, "..") == 0) {
      return TALLIES_INVALID;
   }
   snprintf(path, size, "%s%s", TALLIES_FOLDER, name);
   return TALLIES_OK;
}

/* Opens what is at `path`, if it is ours, and becomes its only writer. */
static tallies_status open_locked(char const* path, int* fd) {
   /* O_NONBLOCK: a FIFO in place of the segment must not keep us waiting. */
   *fd = open(path, O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
   if (*fd < 0) {
      switch (errno) {
         case ENOENT:
            return TALLIES_ABSENT;
         case ELOOP:
         case EACCES:
         case EPERM:
         case EISDIR:
         case ENXIO:
            return TALLIES_REFUSED;
         default:
            return TALLIES_SYSTEM;
      }
   }
   struct stat ours;
   struct stat named;
   tallies_status status = TALLIES_OK;
   if (fstat(*fd, &ours) != 0) {
      status = TALLIES_SYSTEM;
   } else if (!S_ISREG(ours.st_mode) || ours.st_uid != geteuid()) {
      status = TALLIES_REFUSED;
   } else if (flock(*fd, LOCK_EX | LOCK_NB) != 0) {
      status = errno == EWOULDBLOCK ? TALLIES_BUSY : TALLIES_SYSTEM;
   } else if (lstat(path, &named) != 0 || named.st_dev != ours.st_dev || named.st_ino != ours.st_ino) {
      status = try_again; /* it was replaced before we had the lock */
   }
   if (status != TALLIES_OK) close_quietly(*fd);
   return status;
}

static tallies_status map(tallies_segment* segment, uint32_t capacity) {
   segment->capacity = capacity;
   segment->slots = tallies_slots(capacity);
   segment->size = tallies_segment_size(segment->slots);
   segment->used = 0;
   segment->memory = mmap(NULL, segment->size, PROT_READ | PROT_WRITE, MAP_SHARED, segment->fd, 0);
   if (segment->memory == MAP_FAILED) return TALLIES_SYSTEM;
   segment->entries = (tallies_entry*)((char*)segment->memory + TALLIES_HEADER_SIZE);
   return TALLIES_OK;
}

static void write_header(tallies_segment* segment, uint64_t instance) {
   struct timespec now;
   clock_gettime(CLOCK_REALTIME, &now);
   tallies_header header = {
         .magic = TALLIES_MAGIC,
         .version = TALLIES_LAYOUT_VERSION,
         .header_size = TALLIES_HEADER_SIZE,
         .entry_size = TALLIES_ENTRY_SIZE,
         .capacity = segment->capacity,
         .slots = segment->slots,
         .instance = instance,
         .created = (uint64_t)now.tv_sec * 1000000000U + (uint64_t)now.tv_nsec,
   };
   header.check = tallies_header_check(&header);
   memcpy(segment->memory, &header, sizeof header);
}

/* Takes all memory of the segment now: a full /dev/shm would end the process at the first write to it otherwise. */
static tallies_status fill(tallies_segment* segment, tallies_options const* options, uint64_t instance) {
   uint32_t const capacity = options->capacity ? options->capacity : TALLIES_DEFAULT_CAPACITY;
   off_t const size = (off_t)tallies_segment_size(tallies_slots(capacity));
   int problem;
   do {
      problem = posix_fallocate(segment->fd, 0, size);
   } while (problem == EINTR);
   if (problem != 0) {
      errno = problem;
      return TALLIES_SYSTEM;
   }
   if (fchmod(segment->fd, options->mode ? options->mode : TALLIES_DEFAULT_MODE) != 0) return TALLIES_SYSTEM;
   if (map(segment, capacity) != TALLIES_OK) return TALLIES_SYSTEM;
   write_header(segment, instance);
   return TALLIES_OK;
}

/* Makes a segment under a name that nobody looks at, and gives it its own when it is complete and locked. With
 * `take_place`, it takes the place of what has the name, which must be locked by us. */
static tallies_status create(tallies_options const* options, int take_place, tallies_segment* segment) {
   uint64_t instance;
   if (getrandom(&instance, sizeof instance, 0) != (ssize_t)sizeof instance) return TALLIES_SYSTEM;
   char temporary[64];
   snprintf(temporary, sizeof temporary, "%stallies.%016" PRIx64 ".new", TALLIES_FOLDER, instance);
   segment->fd = open(temporary, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
   if (segment->fd < 0) return TALLIES_SYSTEM;

   tallies_status status = flock(segment->fd, LOCK_EX | LOCK_NB) == 0 ? TALLIES_OK : TALLIES_SYSTEM;
   if (status == TALLIES_OK) status = fill(segment, options, instance);
   if (status == TALLIES_OK) {
      if (take_place) {
         if (rename(temporary, segment->path) != 0) status = TALLIES_SYSTEM;
      } else if (link(temporary, segment->path) != 0) {
         status = errno == EEXIST ? try_again : TALLIES_SYSTEM;
      }
      if (status != TALLIES_OK) munmap(segment->memory, segment->size);
   }
   if (status != TALLIES_OK || !take_place) unlink_quietly(temporary);
   if (status != TALLIES_OK) close_quietly(segment->fd);
   return status;
}

tallies_place tallies_locate(tallies_entry const* entries, uint32_t slots, uint64_t key) {
   tallies_place place = {.slot = TALLIES_NO_SLOT, .found = 0};
   uint32_t const chain = tallies_chain_length(slots);
   uint32_t slot = tallies_home(key, slots);
   for (uint32_t passed = 0; passed < chain; ++passed, slot = (slot + 1) & (slots - 1)) {
      uint64_t const held = entries[slot].key;
      if (held == key) return (tallies_place){.slot = slot, .found = 1};
      if (tallies_is_tunnel(held)) continue;
      if (place.slot == TALLIES_NO_SLOT) place.slot = slot;
      if (held == TALLIES_EMPTY) break;
   }
   return place;
}

/* Checks every slot of a segment that an earlier writer has left, and counts its tunnels. */
static tallies_status check_entries(tallies_segment* segment) {
   uint32_t const slots = segment->slots;
   for (uint32_t slot = 0; slot < slots; ++slot) {
      tallies_entry const* const entry = &segment->entries[slot];
      if (tallies_entry_fault(entry, slot, slots) != TALLIES_SOUND) return TALLIES_DAMAGED;
      if (!tallies_is_tunnel(entry->key)) continue;
      tallies_place const place = tallies_locate(segment->entries, slots, entry->key);
      if (!place.found || place.slot != slot) return TALLIES_DAMAGED;
      ++segment->used;
   }
   return segment->used <= segment->capacity ? TALLIES_OK : TALLIES_DAMAGED;
}

/* Goes on with the segment behind segment->fd, which is locked. */
static tallies_status resume(tallies_options const* options, tallies_segment* segment) {
   struct stat file;
   tallies_header header;
   if (fstat(segment->fd, &file) != 0) return TALLIES_SYSTEM;
   if (pread(segment->fd, &header, sizeof header, 0) != (ssize_t)sizeof header) return TALLIES_DAMAGED;
   if (tallies_header_fault(&header, (uint64_t)file.st_size) != TALLIES_SOUND) return TALLIES_DAMAGED;
   if (options->capacity != 0 && options->capacity != header.capacity) return TALLIES_MISMATCH;
   if (map(segment, header.capacity) != TALLIES_OK) return TALLIES_SYSTEM;
   tallies_status const status = check_entries(segment);
   if (status != TALLIES_OK) munmap(segment->memory, segment->size);
   return status;
}

static tallies_status open_once(tallies_options const* options, tallies_segment* segment) {
   int fd;
   tallies_status status = open_locked(segment->path, &fd);
   if (status == TALLIES_ABSENT) return create(options, 0, segment);
   if (status != TALLIES_OK) return status;
   if (options->replace) {
      status = create(options, 1, segment);
      close_quietly(fd); /* only now: nobody else may replace it meanwhile */
      return status;
   }
   segment->fd = fd;
   status = resume(options, segment);
   if (status != TALLIES_OK) close_quietly(fd);
   return status;
}

tallies_status tallies_segment_open(char const* name, tallies_options const* options, tallies_segment* segment) {
   if (options->capacity > TALLIES_LARGEST_CAPACITY || (options->mode & ~0777U) != 0) return TALLIES_INVALID;
   tallies_status status = path_of(name, segment->path, sizeof segment->path);
   if (status != TALLIES_OK) return status;
   for (int i = 0; i < attempts; ++i) {
      status = open_once(options, segment);
      if (status != try_again) return status;
   }
   return TALLIES_BUSY;
}

void tallies_segment_close(tallies_segment* segment) {
   munmap(segment->memory, segment->size);
   close(segment->fd); /* gives the lock back */
}

tallies_status tallies_segment_check(tallies_segment const* segment) {
   struct stat ours;
   struct stat named;
   if (fstat(segment->fd, &ours) != 0) return TALLIES_SYSTEM;
   if (lstat(segment->path, &named) != 0) return errno == ENOENT ? TALLIES_ABSENT : TALLIES_SYSTEM;
   return named.st_dev == ours.st_dev && named.st_ino == ours.st_ino ? TALLIES_OK : TALLIES_ABSENT;
}

tallies_status tallies_unlink(char const* name) {
   char path[sizeof((tallies_segment*)NULL)->path];
   tallies_status status = path_of(name, path, sizeof path);
   if (status != TALLIES_OK) return status;
   for (int i = 0; i < attempts; ++i) {
      int fd;
      status = open_locked(path, &fd);
      if (status == try_again) continue;
      if (status != TALLIES_OK) return status;
      status = unlink(path) == 0 ? TALLIES_OK : TALLIES_SYSTEM;
      close_quietly(fd);
      return status;
   }
   return TALLIES_BUSY;
}
