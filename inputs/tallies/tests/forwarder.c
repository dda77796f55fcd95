/* SPDX-License-Identifier: MIT */
/* A forwarding process that counts for the tests: written in C99 against the installed header alone.
 *
 *    tallies_forwarder NAME count TUNNELS   adds 1 packet of 1000 octets to each of the tunnels 1, 2, ... TUNNELS in
 *                                           turn, as fast as it can, until it is killed
 *    tallies_forwarder NAME churn TUNNELS   the same, but each tunnel is removed and put back with its new counter
 *
 * Says "ready" on stdout when it is the writer, or else why it is not. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tallies_writer.h>
#include <unistd.h>

static int fail(char const* what, tallies_status status) {
   printf("%s: %s\n", what, tallies_status_text(status));
   return EXIT_FAILURE;
}

int main(int argc, char** argv) {
   tallies_options options = {0};
   tallies_writer* writer;
   tallies_status status;
   uint32_t tunnels;
   int churn;

   if (argc != 4) {
      fprintf(stderr, "usage: tallies_forwarder NAME count|churn TUNNELS\n");
      return EXIT_FAILURE;
   }
   churn = strcmp(argv[2], "churn") == 0;
   tunnels = (uint32_t)strtoul(argv[3], NULL, 10);

   /* A test that was killed must not leave this running. */
   alarm(120);

   options.capacity = tunnels;
   status = tallies_writer_open(argv[1], &options, &writer);
   if (status != TALLIES_OK) return fail("open", status);
   printf("ready\n");
   fflush(stdout);

   for (;;) {
      uint32_t index;
      for (index = 1; index <= tunnels; ++index) {
         uint64_t const tunnel = tallies_tunnel_value(TALLIES_TUNNEL, index);
         if (churn) {
            uint64_t packets = 0;
            if (tallies_writer_find(writer, tunnel, &packets, NULL) == TALLIES_OK) {
               tallies_writer_remove(writer, tunnel);
            }
            status = tallies_writer_set(writer, tunnel, packets + 1, (packets + 1) * 1000);
         } else {
            status = tallies_writer_add(writer, tunnel, 1, 1000);
         }
         if (status != TALLIES_OK) return fail("count", status);
      }
   }
}
