/* SPDX-License-Identifier: MIT */
#include "bench/driver/driver_options.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>

struct option
{
    const char *name;
    size_t place;
    const char *standard;
};

#define OPTION(name, member, standard)                                                                       \
    {                                                                                                        \
        name, offsetof(struct driver_options, member), standard                                              \
    }

static const struct option options_table[] = {
    OPTION("sequence", sequence, "upload"),
    OPTION("server", server, "127.0.0.1:1082"),
    OPTION("portal", portal, ""),
    OPTION("proxy", proxy, ""),
    OPTION("ssl", ssl, "YES"),
    OPTION("application", application, ""),
    OPTION("user", user, ""),
    OPTION("password", password, ""),
    OPTION("portal-application", portal_application, ""),
    OPTION("directory-application", directory_application, ""),
    OPTION("directory", directory, ""),
    OPTION("login-user", login_user, ""),
    OPTION("login-password", login_password, ""),
    OPTION("container", container, ""),
    OPTION("procedure", procedure, "ProcessFile"),
    OPTION("parameter", parameter, ""),
    OPTION("file", file, ""),
    OPTION("socket-log", socket_log, ""),
    OPTION("stop", stop, ""),
    OPTION("wait", wait, ""),
    OPTION("repeat", repeat, "1"),
};

enum
{
    options_count = sizeof options_table / sizeof options_table[0]
};

static void store(struct driver_options *options, const struct option *option, const char *value)
{
    memcpy((char *)options + option->place, &value, sizeof value);
}

static int apply_word(const char *word, struct driver_options *options)
{
    const char *equals = strchr(word, '=');
    if (!equals) {
        return 0;
    }
    const size_t length = (size_t)(equals - word);
    for (int index = 0; index < options_count; ++index) {
        const struct option *option = &options_table[index];
        if (strlen(option->name) == length && memcmp(option->name, word, length) == 0) {
            store(options, option, equals + 1);
            return 1;
        }
    }
    return 0;
}

int parse_driver_options(int count, char **words, struct driver_options *options)
{
    for (int index = 0; index < options_count; ++index) {
        store(options, &options_table[index], options_table[index].standard);
    }
    for (int index = 1; index < count; ++index) {
        if (!apply_word(words[index], options)) {
            fprintf(stderr, "upload_driver: what is '%s'?\n", words[index]);
            return 0;
        }
    }
    return 1;
}
