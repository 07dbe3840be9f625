/* SPDX-License-Identifier: MIT */
/*
 * Prints a document with nothing but the public header: the whole command sequence of an upload, and where
 * the session is left open, what a portal needs. Usage:
 *
 *     upload_client CONNECTION LOGIN DOCUMENT
 *
 * CONNECTION is a connection string, LOGIN the arguments of the login ("POD_USER=|a| POD_PASSWORD=|b|").
 * Prints the file identifier. Exit status: 0 printed, 1 a command failed (its error on standard error), 2
 * wrong usage.
 */
#include "vrc.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define BLOCK_BYTES 65536L
#define COMMAND_BYTES 8192
#define RESULT_BYTES 8192

struct upload
{
    void *request;
    const char *document;
    char result[RESULT_BYTES];
    char last[COMMAND_BYTES];
};

static void ask(struct upload *upload, const char *what, char *text, int capacity)
{
    char command[256];
    sprintf(command, "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|%s|", what);
    VrCommand(upload->request, command, text, capacity, NULL);
}

static int is_network_error(struct upload *upload)
{
    char service[64];
    char code[64];
    ask(upload, "SERVICE", service, (int)sizeof service);
    ask(upload, "CODE", code, (int)sizeof code);
    return strcmp(service, "LOCAL") == 0 && strcmp(code, "104") == 0;
}

/* Like the program: once more after a network error, at once. */
static int command(struct upload *upload, const char *text)
{
    int status;
    strncpy(upload->last, text, sizeof upload->last - 1);
    status = VrCommand(upload->request, text, upload->result, (int)sizeof upload->result, NULL);
    if (status != 1 && is_network_error(upload)) {
        status = VrCommand(upload->request, text, upload->result, (int)sizeof upload->result, NULL);
    }
    return status == 1;
}

static int command1(struct upload *upload, const char *format, const char *argument)
{
    char text[COMMAND_BYTES];
    if (strlen(format) + strlen(argument) >= sizeof text) {
        return 0;
    }
    sprintf(text, format, argument);
    return command(upload, text);
}

static int connect_and_log_in(struct upload *upload, const char *login)
{
    return command1(upload, "VR_CMD=|MISC:NOP| %s", login);
}

static int read_modes(struct upload *upload)
{
    return command(upload, "VR_CMD=|OBJECT:GET| NAME=|PRINTING_MODES| VR_CONTAINER=|demo|") &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|PRINTING_MODES|") &&
           atol(upload->result) > 0 &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|1|");
}

static int read_tunnel_services(struct upload *upload)
{
    return command(upload, "VR_CMD=|OBJECT:GET| NAME=|TUNNEL_MODE| VR_CONTAINER=|demo| VR_NO_ERROR=|YES|") &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_MODE| VR_NO_ERROR=|YES|") &&
           command(upload, "VR_CMD=|OBJECT:GET| NAME=|TUNNEL_SERVICES| VR_CONTAINER=|demo|") &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|TUNNEL_SERVICES|") &&
           command(upload,
                   "VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|TUNNEL_SERVICES| ROW=|1| MODE=|STRING|");
}

static int size_of(struct upload *upload, const char *object, long *size)
{
    const int done = command1(upload, "VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|%s|", object);
    *size = done ? atol(upload->result) : 0;
    return done && *size > 0;
}

static int compress_document(struct upload *upload, long *plain, long *compressed)
{
    return command1(upload,
                    "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|SEND_FILE| PERSIST=|-1| FILENAME=|%s|",
                    upload->document) &&
           size_of(upload, "SEND_FILE", plain) &&
           command1(upload,
                    "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|COMPRESSED_FILE| PERSIST=|0| "
                    "FILENAME=|%s.tmpc|",
                    upload->document) &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|SEND_FILE| DNAME=|COMPRESSED_FILE|") &&
           size_of(upload, "COMPRESSED_FILE", compressed) &&
           command1(
               upload,
               "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|BLOCK_FILE| PERSIST=|0| FILENAME=|%s.tmp|",
               upload->document);
}

static int send_block(struct upload *upload, long offset, long bytes)
{
    char range[128];
    sprintf(
        range,
        "VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|%ld| NUM_BYTES=|%ld|",
        offset, bytes);
    return command(upload, range) && command(upload, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|") &&
           command(upload, "VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|") &&
           command(upload, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|");
}

static int send_blocks(struct upload *upload, long compressed)
{
    long offset;
    if (!command(upload, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|") ||
        !command(upload,
                 "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|")) {
        return 0;
    }
    for (offset = 0; offset < compressed; offset += BLOCK_BYTES) {
        const long rest = compressed - offset;
        if (!send_block(upload, offset, rest < BLOCK_BYTES ? rest : BLOCK_BYTES)) {
            return 0;
        }
    }
    return 1;
}

static int check_size(struct upload *upload, const char *object, long expected)
{
    const int done =
        command(upload, "VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SERVER_FILE_SIZE| REPLACE=|YES|") &&
        command1(upload, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|%s| VR_VAR=|SERVER_FILE_SIZE|", object) &&
        command(upload,
                "VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SERVER_FILE_SIZE| VALUE=|##SERVER_FILE_SIZE| "
                "VR_KEEP_VAR=|YES|") &&
        command(upload, "VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|") &&
        command(upload, "VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|") &&
        command(upload, "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|");
    if (done && atol(upload->result) != expected) {
        fprintf(stderr, "%s holds %s bytes on the server, not %ld\n", object, upload->result, expected);
        exit(1);
    }
    return done;
}

static int clean_up(struct upload *upload)
{
    return command(upload, "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|BLOCK_FILE|") &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|COMPRESSED_FILE|") &&
           command(upload, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|") &&
           command(upload, "VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|");
}

static int set_info(struct upload *upload, const char *key, const char *value)
{
    char text[COMMAND_BYTES];
    sprintf(text, "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| KEY=|%s| VALUE=|%s|", key,
            value);
    return command(upload, text);
}

static int describe_document(struct upload *upload, long plain)
{
    char size[32];
    sprintf(size, "%ld", plain);
    return command(upload,
                   "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|FILE_INFO| REPLACE=|YES|") &&
           set_info(upload, "PRINT_MODE", "STANDARD") && set_info(upload, "PRINTER_NAME", "printer") &&
           set_info(upload, "FILE_NAME", "document") && set_info(upload, "FILE_SIZE", size) &&
           set_info(upload, "WIN_MACHINE", "machine") && set_info(upload, "WIN_USER", "user") &&
           set_info(upload, "TUNNEL_SERVICE", "") && set_info(upload, "TUNNEL_PROFILE", "") &&
           command(upload, "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|");
}

static int process(struct upload *upload)
{
    return command(upload, "VR_PROC=|ProcessFile| QUEUE=|demo|") &&
           command(upload, "VR_CMD=|OBJECT:GET| NAME=|FILE_ID|") &&
           command(upload, "VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|") &&
           upload->result[0] != '\0';
}

static int print_document(struct upload *upload, const char *login)
{
    long plain = 0;
    long compressed = 0;
    return connect_and_log_in(upload, login) && read_modes(upload) && read_tunnel_services(upload) &&
           compress_document(upload, &plain, &compressed) && send_blocks(upload, compressed) &&
           check_size(upload, "RECEIVED_COMPRESSED_FILE", compressed) &&
           command(upload,
                   "VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|") &&
           clean_up(upload) && check_size(upload, "RECEIVED_FILE", plain) &&
           describe_document(upload, plain) && process(upload);
}

static void report(struct upload *upload)
{
    char service[256];
    char class_name[256];
    char code[64];
    char description[4200];
    ask(upload, "SERVICE", service, (int)sizeof service);
    ask(upload, "CLASS", class_name, (int)sizeof class_name);
    ask(upload, "CODE", code, (int)sizeof code);
    ask(upload, "DESCRIPTION", description, (int)sizeof description);
    fprintf(stderr, "%s/%s/%s: %s\n%s\n", service, class_name, code, description, upload->last);
}

int main(int argc, char **argv)
{
    static struct upload upload;
    int done;
    if (argc != 4) {
        fprintf(stderr, "usage: upload_client CONNECTION LOGIN DOCUMENT\n");
        return 2;
    }
    upload.document = argv[3];
    upload.request = VrOpenRequest(argv[1]);
    if (upload.request == NULL) {
        fprintf(stderr, "the connection string cannot be parsed\n");
        return 2;
    }
    done = print_document(&upload, argv[2]);
    if (done) {
        printf("%s\n", upload.result);
    } else {
        report(&upload);
    }
    VrCommand(upload.request, "VR_CLOSE_SESSION=|YES|", NULL, 0, NULL);
    VrCloseRequest(upload.request);
    return done ? 0 : 1;
}
