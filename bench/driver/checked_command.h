/* SPDX-License-Identifier: MIT */
#pragma once

#include "bench/driver/driver_options.h"

/* A request with the times of its commands. All times are seconds. */

enum
{
    channel_answer_bytes = 32768,
    channel_notes_maximum = 128
};

struct command_note
{
    char label[64];
    double seconds;
};

struct channel
{
    void *request;
    int failed; /* commands that a caller demanded to succeed and that did not */
    char answer[channel_answer_bytes];
    struct command_note
        notes[channel_notes_maximum]; /* commands that go to the server, outside the block loop */
    int notes_count;
};

double seconds_now(void);

/* Opens a request; null request and a message on standard error when the library refuses. */
void channel_open(struct channel *channel, const struct driver_options *options, const char *server,
                  const char *application, const char *user, const char *password);

/* Carries out one command, formatted as by printf; its answer is in channel->answer. Returns what VrCommand
 * returns. */
__attribute__((format(printf, 2, 3))) int channel_command(struct channel *channel, const char *format, ...);

/* The same for a command that has to succeed: when it does not, its error goes to standard error and is
 * counted. */
__attribute__((format(printf, 2, 3))) int channel_demand(struct channel *channel, const char *format, ...);

/* The answer of the last command as a number; 0 when it is none. */
long channel_number(const struct channel *channel);

/* Ends the session if asked, frees the request. */
void channel_close(struct channel *channel, int end_session);
