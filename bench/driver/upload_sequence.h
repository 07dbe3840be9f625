/* SPDX-License-Identifier: MIT */
#pragma once

#include "bench/driver/checked_command.h"

/* Seconds; the whole is everything from VrOpenRequest to VrCloseRequest, but a wait for the go-ahead. */
struct upload_times
{
    double connect;  /* open the request and log in */
    double modes;    /* fetch the printing modes */
    double compress; /* local: sizes, compression */
    double loop;     /* from the creation of the server objects to the answer of the first size query */
    double rest;     /* from there to the file identifier */
    double close;
    double whole;
    long blocks;
    long plain_bytes;
    long compressed_bytes;
    char file_id[256];
};

/* The whole command sequence that the program sends for one document in standard mode. Every command is in
 * the channel's notes; commands that have to succeed and do not are counted in channel->failed. */
void upload_document(struct channel *channel, const struct driver_options *options,
                     struct upload_times *times);

/* The sequences before and after an upload: the directory's parameters, and the portal session. */
void read_directory(struct channel *channel, const struct driver_options *options);
void open_portal(struct channel *channel, const struct driver_options *options, const char *file_id);

/* The local half of an upload: compresses the document and says how long that took. */
void compress_document(struct channel *channel, const struct driver_options *options,
                       struct upload_times *times);
