/* SPDX-License-Identifier: MIT */
#include "bench/driver/checked_command.h"

#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <vrc.h>

enum
{
    command_bytes = 8192
};

double seconds_now(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

void channel_open(struct channel *channel, const struct driver_options *options, const char *server,
                  const char *application, const char *user, const char *password)
{
    char text[command_bytes];
    const int has_proxy = options->proxy[0] != '\0';
    const int ssl = options->ssl[0] != '\0';
    const int log = options->socket_log[0] != '\0';
    snprintf(text, sizeof text,
             "Unicode=\"YES\" Server=\"%s%s%s%s\" Application=\"%s\" User=\"%s\" Password=\"%s\"%s%s%s%s"
             " ConnectionTimeOut=\"5\"",
             has_proxy ? "proxy::http://" : "", options->proxy, has_proxy ? "::" : "", server, application,
             user, password, ssl ? " Ssl=\"YES\"" : "", log ? " SocketLog=\"" : "", options->socket_log,
             log ? "\"" : "");
    memset(channel, 0, sizeof *channel);
    channel->request = VrOpenRequest(text);
    if (!channel->request) {
        fprintf(stderr, "upload_driver: the library cannot parse: %s\n", text);
        ++channel->failed;
    }
}

/* Of a command: what stands before a login. */
static int public_length(const char *command)
{
    const char *login = strstr(command, " POD_USER");
    return (int)(login ? login - command : (ptrdiff_t)strlen(command));
}

static void note_command(struct channel *channel, const char *command, double seconds)
{
    if (strncmp(command, "VR_CMD=|LOCAL:", 14) == 0 || channel->notes_count == channel_notes_maximum) {
        return;
    }
    struct command_note *note = &channel->notes[channel->notes_count++];
    note->seconds = seconds;
    /* The two first fields say enough. */
    const int end = public_length(command);
    int length = 0;
    for (int bars = 0; length < end && bars < 4 && length + 1 < (int)sizeof note->label; ++length) {
        bars += command[length] == '|';
        note->label[length] = command[length];
    }
    note->label[length] = '\0';
}

static int carry_out(struct channel *channel, const char *command)
{
    channel->answer[0] = '\0';
    if (!channel->request) {
        return 0;
    }
    const double begin = seconds_now();
    const int status = VrCommand(channel->request, command, channel->answer, channel_answer_bytes, NULL);
    note_command(channel, command, seconds_now() - begin);
    return status;
}

static void report_failure(struct channel *channel, const char *command)
{
    static const char *const parts[] = {"SERVICE", "CLASS", "CODE", "DESCRIPTION", "INFO"};
    ++channel->failed;
    fprintf(stderr, "upload_driver: failed: %.*s:", public_length(command), command);
    for (int index = 0; channel->request && index < 5; ++index) {
        char query[128];
        char text[1024] = "";
        snprintf(query, sizeof query, "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|%s|", parts[index]);
        VrCommand(channel->request, query, text, sizeof text, NULL);
        fprintf(stderr, " %s", text);
    }
    fputc('\n', stderr);
}

int channel_command(struct channel *channel, const char *format, ...)
{
    char command[command_bytes];
    va_list values;
    va_start(values, format);
    vsnprintf(command, sizeof command, format, values);
    va_end(values);
    return carry_out(channel, command);
}

int channel_demand(struct channel *channel, const char *format, ...)
{
    char command[command_bytes];
    va_list values;
    va_start(values, format);
    vsnprintf(command, sizeof command, format, values);
    va_end(values);
    const int status = carry_out(channel, command);
    if (status != 1) {
        report_failure(channel, command);
    }
    return status;
}

long channel_number(const struct channel *channel)
{
    return strtol(channel->answer, NULL, 10);
}

void channel_close(struct channel *channel, int end_session)
{
    if (end_session) {
        channel_demand(channel, "VR_CLOSE_SESSION=|YES|");
    }
    VrCloseRequest(channel->request);
    channel->request = NULL;
}
