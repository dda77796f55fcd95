/* SPDX-License-Identifier: MIT */
/* Counting packets and bytes of tunnels for mplste: the writer's side of a counter segment, for C99 and later.
 *
 * A forwarding process opens one writer and sets or adds to counters as it likes; the SNMP agent reads them whenever a
 * manager asks, in mplsTunnelPerfTable (RFC 3812). A reader never sees packets without their bytes, never waits for the
 * writer and never makes it wait. The last counters stay readable when the process ends, however it ends.
 *
 * A writer belongs to one thread at a time; there is no lock inside. Nothing is written to stdout or stderr. */
#ifndef TALLIES_WRITER_H
#define TALLIES_WRITER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The segment that mplsted reads when it is given no other name. */
#define TALLIES_DEFAULT_NAME "mplste-counters"

enum {
   TALLIES_DEFAULT_CAPACITY = 65536, /* tunnels; such a segment takes 8 MiB */
   TALLIES_DEFAULT_MODE = 0644
};

/* The kinds of tunnel that mplsTunnelPerfTable has rows for. */
typedef enum tallies_tunnel_type { TALLIES_TUNNEL = 16, TALLIES_SUBTUNNEL = 20 } tallies_tunnel_type;

/* The tunnel value that a counter is kept under: `index` is the tunnel's index in the forwarding plane, as published
 * in tunnelIndexForTunnelSpecId (TALLIES_TUNNEL) or tunnelIndexForSubTunnelConfigId (TALLIES_SUBTUNNEL). */
uint64_t tallies_tunnel_value(tallies_tunnel_type type, uint32_t index);

typedef enum tallies_status {
   TALLIES_OK = 0,
   TALLIES_FULL,     /* the table takes no further tunnel; its counters are as they were */
   TALLIES_BUSY,     /* another process writes to the segment */
   TALLIES_ABSENT,   /* no such segment, or no such tunnel in it */
   TALLIES_INVALID,  /* an argument is not what it must be */
   TALLIES_REFUSED,  /* the name leads to a symbolic link, to no regular file, or to something of another user */
   TALLIES_DAMAGED,  /* the segment is not what a writer leaves behind: replace it */
   TALLIES_MISMATCH, /* the segment has another capacity than asked for: replace it, or ask for its own */
   TALLIES_SYSTEM    /* the system refused, and errno says why */
} tallies_status;

/* What `status` means, in a few words without a full stop. */
char const* tallies_status_text(tallies_status status);

typedef struct tallies_writer tallies_writer;

/* Zeros are a good choice for all of it. */
typedef struct tallies_options {
   uint32_t capacity; /* tunnels, 1 to 1048576. 0: as many as the segment has that is there, or else
                       * TALLIES_DEFAULT_CAPACITY */
   unsigned mode;     /* permission bits of a new segment, whatever the umask. 0: TALLIES_DEFAULT_MODE */
   int replace;       /* not 0: begin with an empty table, which takes the place of the one that is there */
} tallies_options;

/* Becomes the writer of the segment `name` and stores a new writer, to be closed, in `*writer`.
 *
 * `name` is a POSIX shared memory name of 1 to 200 octets, with or without its leading slash. `options` may be null.
 * A segment that is not there is made: it appears whole or not at all. One that is there is checked throughout and
 * resumed with the counters it has, unless `replace` is set. All memory it will ever need is taken now.
 *
 * TALLIES_BUSY, TALLIES_INVALID, TALLIES_REFUSED, TALLIES_DAMAGED, TALLIES_MISMATCH, TALLIES_SYSTEM: `*writer` is null
 * and the segment is as it was.
 *
 * One process at a time is the writer. It stops being it when it closes the writer or ends, be it by SIGKILL. A child
 * that it forked, and that executes no other program, is the writer with it until the child closes the writer too. */
tallies_status tallies_writer_open(char const* name, tallies_options const* options, tallies_writer** writer);

/* Gives up being the writer; the segment stays. Null is allowed. */
void tallies_writer_close(tallies_writer* writer);

/* TALLIES_OK while readers that open the segment by its name reach this writer's counters. TALLIES_ABSENT: somebody has
 * removed the segment or put another in its place, and no reader sees what is counted here; open another writer.
 * TALLIES_SYSTEM. Takes two system calls: for once in a while, not for every packet. */
tallies_status tallies_writer_check(tallies_writer const* writer);

/* Sets the counter of `tunnel`, both numbers at once. A tunnel that is not in the table yet is put there.
 * TALLIES_FULL; TALLIES_INVALID: `tunnel` is 0 or UINT64_MAX, which stand for no tunnel. */
tallies_status tallies_writer_set(tallies_writer* writer, uint64_t tunnel, uint64_t packets, uint64_t bytes);

/* Adds to the counter of `tunnel`, both numbers at once, modulo 2^64 each. Otherwise as tallies_writer_set. */
tallies_status tallies_writer_add(tallies_writer* writer, uint64_t tunnel, uint64_t packets, uint64_t bytes);

/* Takes `tunnel` out of the table. TALLIES_ABSENT: it was not there. */
tallies_status tallies_writer_remove(tallies_writer* writer, uint64_t tunnel);

/* Reads the counter of `tunnel`; either pointer may be null. TALLIES_ABSENT: it is not there. */
tallies_status tallies_writer_find(tallies_writer const* writer, uint64_t tunnel, uint64_t* packets, uint64_t* bytes);

typedef struct tallies_counter {
   uint64_t tunnel;
   uint64_t packets;
   uint64_t bytes;
} tallies_counter;

/* Visits the tunnels in no special order: set `*cursor` to 0, and call until TALLIES_ABSENT. Tunnels that are added
 * meanwhile may be missed; removing the tunnel that was just visited is fine. */
tallies_status tallies_writer_next(tallies_writer const* writer, uint32_t* cursor, tallies_counter* counter);

/* Tunnels that are in the table, and tunnels that it has room for. */
uint32_t tallies_writer_size(tallies_writer const* writer);
uint32_t tallies_writer_capacity(tallies_writer const* writer);

/* Removes the segment `name` of this user from the system; readers find no counters from then on.
 * TALLIES_ABSENT, TALLIES_BUSY, TALLIES_INVALID, TALLIES_REFUSED, TALLIES_SYSTEM. */
tallies_status tallies_unlink(char const* name);

#ifdef __cplusplus
}
#endif

#endif
