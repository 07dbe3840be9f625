/* SPDX-License-Identifier: MIT */
#pragma once

/* What the driver is told on its command line, as words NAME=VALUE. Every text lives as long as the arguments
 * of main. */
struct driver_options
{
    const char *sequence;    /* "upload", "send" or "compress" */
    const char *server;      /* HOST:PORT */
    const char *portal;      /* HOST:PORT of the portal session; the server when empty */
    const char *proxy;       /* HOST:PORT or HOST:PORT(USER;PASSWORD), empty: none */
    const char *ssl;         /* "YES", or empty for a plain connection */
    const char *application; /* of the connection, with its user and password */
    const char *user;
    const char *password;
    const char *portal_application;
    const char *directory_application;
    const char *directory;
    const char *login_user; /* the person; no login when empty */
    const char *login_password;
    const char *container;
    const char *procedure;
    const char *parameter;
    const char
        *file; /* the document; FILE.tmpc and FILE.tmp are written beside it, REQUEST and number appended */
    const char *socket_log;
    const char *stop; /* "loop": close the session after the first size query; else the whole sequence */
    const char
        *wait; /* "YES": before the server objects are created, say "ready" and wait for a line of input */
    const char *repeat; /* how many times the sequence is carried out, one after the other */
};

/* Fills the options, defaults first. Returns 0 after it has named on standard error the word that is not
 * understood. */
int parse_driver_options(int count, char **words, struct driver_options *options);
