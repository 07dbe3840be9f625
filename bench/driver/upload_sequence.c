/* SPDX-License-Identifier: MIT */
#include "bench/driver/upload_sequence.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum
{
    block_bytes = 65536
};

static int log_in(struct channel *channel, const struct driver_options *options)
{
    if (options->login_user[0] == '\0') {
        return channel_demand(channel, "VR_CMD=|MISC:NOP|");
    }
    return channel_demand(channel, "VR_CMD=|MISC:NOP| POD_USER=|%s| POD_PASSWORD=|%s|", options->login_user,
                          options->login_password);
}

static void read_list(struct channel *channel, const char *name)
{
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|%s|", name);
    const long count = channel_number(channel);
    for (long index = 1; index <= count; ++index) {
        channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|%s| INDEX=|%ld|", name,
                       index);
    }
}

static void read_printing_modes(struct channel *channel, const struct driver_options *options)
{
    channel_demand(channel, "VR_CMD=|OBJECT:GET| NAME=|PRINTING_MODES| VR_CONTAINER=|%s|",
                   options->container);
    read_list(channel, "PRINTING_MODES");
}

void compress_document(struct channel *channel, const struct driver_options *options,
                       struct upload_times *times)
{
    const double begin = seconds_now();
    const int process = (int)getpid();
    channel_demand(channel,
                   "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|SEND_FILE| PERSIST=|-1| FILENAME=|%s|",
                   options->file);
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|SEND_FILE|");
    times->plain_bytes = channel_number(channel);
    channel_demand(
        channel,
        "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|COMPRESSED_FILE| PERSIST=|0| FILENAME=|%s.%d.tmpc|",
        options->file, process);
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|SEND_FILE| DNAME=|COMPRESSED_FILE|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|");
    times->compressed_bytes = channel_number(channel);
    channel_demand(
        channel,
        "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|BLOCK_FILE| PERSIST=|0| FILENAME=|%s.%d.tmp|",
        options->file, process);
    times->compress = seconds_now() - begin;
}

static int send_block(struct channel *channel, long offset, long bytes)
{
    return channel_demand(channel,
                          "VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|%ld| "
                          "NUM_BYTES=|%ld|",
                          offset, bytes) == 1 &&
           channel_demand(channel, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|") == 1 &&
           channel_demand(channel, "VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|") == 1 &&
           channel_demand(channel,
                          "VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|") ==
               1;
}

/* The notes of the loop's commands become one. */
static void send_blocks(struct channel *channel, struct upload_times *times)
{
    const int first_note = channel->notes_count;
    const double begin = seconds_now();
    int good = 1;
    for (long offset = 0; good && offset < times->compressed_bytes; offset += block_bytes) {
        const long left = times->compressed_bytes - offset;
        good = send_block(channel, offset, left < block_bytes ? left : block_bytes);
        channel->notes_count = first_note;
        ++times->blocks;
    }
    struct command_note *note = &channel->notes[channel->notes_count++];
    snprintf(note->label, sizeof note->label, "the block loop, %ld blocks", times->blocks);
    note->seconds = seconds_now() - begin;
}

static void query_size(struct channel *channel, const char *name)
{
    channel_demand(channel, "VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SERVER_FILE_SIZE| REPLACE=|YES|");
    channel_demand(channel, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|%s| VR_VAR=|SERVER_FILE_SIZE|", name);
    channel_demand(channel,
                   "VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SERVER_FILE_SIZE| VALUE=|##SERVER_FILE_SIZE| "
                   "VR_KEEP_VAR=|YES|");
    channel_demand(channel, "VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|");
}

static void compare_size(struct channel *channel, long expected)
{
    channel_demand(channel, "VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|");
    if (channel_number(channel) != expected) {
        fprintf(stderr, "upload_driver: the server has %ld bytes, not %ld\n", channel_number(channel),
                expected);
        ++channel->failed;
    }
}

static void upload_blocks(struct channel *channel, struct upload_times *times)
{
    const double begin = seconds_now();
    channel_demand(channel, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|");
    channel_demand(channel,
                   "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|");
    send_blocks(channel, times);
    query_size(channel, "RECEIVED_COMPRESSED_FILE");
    times->loop = seconds_now() - begin;
}

static void decompress_and_clean(struct channel *channel)
{
    channel_demand(channel,
                   "VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|BLOCK_FILE|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|COMPRESSED_FILE|");
    channel_demand(channel, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|");
    channel_demand(channel, "VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|");
}

static void describe_document(struct channel *channel, const struct upload_times *times)
{
    char size[32];
    snprintf(size, sizeof size, "%ld", times->plain_bytes);
    const char *const rows[][2] = {
        {"PRINT_MODE", "STANDARD"}, {"PRINTER_NAME", "Varek Print"}, {"FILE_NAME", "benchmark document"},
        {"FILE_SIZE", size},        {"WIN_MACHINE", "bench"},        {"WIN_USER", "bench"},
        {"TUNNEL_SERVICE", ""},     {"TUNNEL_PROFILE", ""},
    };
    channel_demand(channel,
                   "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|FILE_INFO| REPLACE=|YES|");
    for (size_t row = 0; row < sizeof rows / sizeof rows[0]; ++row) {
        channel_demand(channel,
                       "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| KEY=|%s| VALUE=|%s|",
                       rows[row][0], rows[row][1]);
    }
    channel_demand(channel, "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|");
}

static void process_document(struct channel *channel, const struct driver_options *options,
                             struct upload_times *times)
{
    channel_demand(channel, "VR_PROC=|%s| %s", options->procedure, options->parameter);
    channel_demand(channel, "VR_CMD=|OBJECT:GET| NAME=|FILE_ID|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|");
    snprintf(times->file_id, sizeof times->file_id, "%.255s", channel->answer);
    if (times->file_id[0] == '\0') {
        ++channel->failed;
    }
}

static void finish_document(struct channel *channel, const struct driver_options *options,
                            struct upload_times *times)
{
    const double begin = seconds_now();
    compare_size(channel, times->compressed_bytes);
    decompress_and_clean(channel);
    query_size(channel, "RECEIVED_FILE");
    compare_size(channel, times->plain_bytes);
    describe_document(channel, times);
    process_document(channel, options, times);
    times->rest = seconds_now() - begin;
}

/* Seconds that went by until somebody wrote a line. */
static double wait_for_go_ahead(void)
{
    const double begin = seconds_now();
    puts("ready");
    fflush(stdout);
    while (getchar() != '\n' && !feof(stdin)) {
    }
    return seconds_now() - begin;
}

void upload_document(struct channel *channel, const struct driver_options *options,
                     struct upload_times *times)
{
    memset(times, 0, sizeof *times);
    const double begin = seconds_now();
    channel_open(channel, options, options->server, options->application, options->user, options->password);
    if (log_in(channel, options) != 1) {
        channel_close(channel, 0);
        return;
    }
    times->connect = seconds_now() - begin;
    read_printing_modes(channel, options);
    times->modes = seconds_now() - begin - times->connect;
    compress_document(channel, options, times);
    const double waited = options->wait[0] != '\0' ? wait_for_go_ahead() : 0;
    upload_blocks(channel, times);
    if (strcmp(options->stop, "loop") != 0) {
        finish_document(channel, options, times);
    }
    const double end = seconds_now();
    channel_close(channel, 1);
    times->close = seconds_now() - end;
    times->whole = seconds_now() - begin - waited;
}

static void read_parameters(struct channel *channel)
{
    channel_demand(channel, "VR_CMD=|OBJECT:GET| NAME=|parameters|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|parameters|");
    const long count = channel_number(channel);
    for (long index = 1; index <= count; ++index) {
        channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|%ld|",
                       index);
        char key[256];
        snprintf(key, sizeof key, "%.255s", channel->answer);
        channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|%s|",
                       key);
    }
}

void read_directory(struct channel *channel, const struct driver_options *options)
{
    const char *name = options->directory;
    channel_open(channel, options, options->server, options->directory_application, "", "");
    channel_demand(channel, "VR_CMD=|MISC:NOP|");
    channel_demand(channel, "VR_PROC=|GetData| DIRECTORY=|%s| KEY=|Settings| ENTRIES=|Parameters|", name);
    read_parameters(channel);
    channel_demand(channel, "VR_PROC=|GetData| DIRECTORY=|%s| KEY=|Directories| ENTRIES=|Directories|", name);
    channel_demand(channel, "VR_CMD=|OBJECT:GET| NAME=|directories|");
    read_list(channel, "directories");
    channel_demand(channel, "VR_PROC=|GetData| DIRECTORY=|%s| KEY=|Help| ENTRIES=|Topics|", name);
    channel_demand(channel, "VR_CMD=|OBJECT:GET| NAME=|Topics|");
    read_list(channel, "Topics");
    channel_close(channel, 1);
}

void open_portal(struct channel *channel, const struct driver_options *options, const char *file_id)
{
    const char *server = options->portal[0] != '\0' ? options->portal : options->server;
    channel_open(channel, options, server, options->portal_application, options->user, options->password);
    log_in(channel, options);
    channel_demand(channel, "VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|FILE_ID| REPLACE=|YES|");
    channel_demand(channel, "VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=|%s|", file_id);
    channel_demand(channel, "VR_CMD=|OBJECT:SEND| NAME=|FILE_ID|");
    channel_close(channel, 0);
}
