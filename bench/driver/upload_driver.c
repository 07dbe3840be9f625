/* SPDX-License-Identifier: MIT */
/*
 * Carries out the command sequences of the program over the library's public header alone, and prints one
 * line of JSON a sequence with their times. `bench/run` starts it; its options are those of driver_options.h.
 */
#include "bench/driver/upload_sequence.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vrc.h>

/* VmHWM of /proc/self/status: the most memory of this program, its libraries included, that ever lay in RAM.
 */
static long peak_memory_kib(void)
{
    FILE *status = fopen("/proc/self/status", "r");
    char line[256];
    long kib = 0;
    while (status && fgets(line, sizeof line, status)) {
        if (strncmp(line, "VmHWM:", 6) == 0) {
            kib = strtol(line + 6, NULL, 10);
        }
    }
    if (status) {
        fclose(status);
    }
    return kib;
}

/* As with curl, whose clock starts when its libraries are loaded and initialised: a request that nobody
 * answers makes the library do both. */
static void load_library(void)
{
    void *request = VrOpenRequest("Unicode=\"YES\" Server=\"127.0.0.1:1\" Ssl=\"YES\"");
    VrCommand(request, "VR_CMD=|MISC:NOP|", NULL, 0, NULL);
    VrCloseRequest(request);
}

static void print_notes(const char *phase, const struct channel *channel)
{
    printf(", \"%s\": [", phase);
    for (int index = 0; index < channel->notes_count; ++index) {
        printf("%s[\"%s\", %.6f]", index > 0 ? ", " : "", channel->notes[index].label,
               channel->notes[index].seconds);
    }
    putchar(']');
}

static void print_upload(const struct upload_times *times)
{
    printf(
        "\"connect\": %.6f, \"modes\": %.6f, \"compress\": %.6f, \"loop\": %.6f, \"rest\": %.6f, "
        "\"close\": %.6f, \"whole\": %.6f, \"blocks\": %ld, \"plainBytes\": %ld, \"compressedBytes\": %ld, "
        "\"fileId\": \"%s\"",
        times->connect, times->modes, times->compress, times->loop, times->rest, times->close, times->whole,
        times->blocks, times->plain_bytes, times->compressed_bytes, times->file_id);
}

static int run_upload(const struct driver_options *options)
{
    static struct channel channel;
    struct upload_times times;
    upload_document(&channel, options, &times);
    putchar('{');
    print_upload(&times);
    print_notes("upload", &channel);
    printf(", \"peakKib\": %ld, \"failed\": %d}\n", peak_memory_kib(), channel.failed);
    return channel.failed;
}

static int run_send(const struct driver_options *options)
{
    static struct channel directory;
    static struct channel upload;
    static struct channel portal;
    struct upload_times times;
    const double begin = seconds_now();
    read_directory(&directory, options);
    upload_document(&upload, options, &times);
    open_portal(&portal, options, times.file_id);
    const double send = seconds_now() - begin;
    const int failed = directory.failed + upload.failed + portal.failed;
    putchar('{');
    print_upload(&times);
    printf(", \"send\": %.6f", send);
    print_notes("directory", &directory);
    print_notes("upload", &upload);
    print_notes("portal", &portal);
    printf(", \"peakKib\": %ld, \"failed\": %d}\n", peak_memory_kib(), failed);
    return failed;
}

static int run_compress(const struct driver_options *options)
{
    static struct channel channel;
    struct upload_times times;
    memset(&times, 0, sizeof times);
    channel_open(&channel, options, options->server, "", "", "");
    compress_document(&channel, options, &times);
    channel_close(&channel, 0);
    putchar('{');
    print_upload(&times);
    printf(", \"peakKib\": %ld, \"failed\": %d}\n", peak_memory_kib(), channel.failed);
    return channel.failed;
}

int main(int argc, char **argv)
{
    struct driver_options options;
    if (!parse_driver_options(argc, argv, &options)) {
        return 2;
    }
    int (*run)(const struct driver_options *) = strcmp(options.sequence, "send") == 0       ? run_send
                                                : strcmp(options.sequence, "compress") == 0 ? run_compress
                                                                                            : run_upload;
    load_library();
    int failed = 0;
    for (long left = strtol(options.repeat, NULL, 10); left > 0; --left) {
        failed += run(&options);
        fflush(stdout);
    }
    return failed > 0 ? 1 : 0;
}
