// SPDX-License-Identifier: MIT
#pragma once

/// Runs a command through the shell, at most 8191 bytes of it. Waits `waitSeconds`: 0 not at all, -1 without
/// limit. Returns 0 when the command finished or is not waited for, -1 for a bad argument, a failure or an
/// abnormal end, -2 when it was terminated after the wait. `exitCode` becomes the exit status of a command
/// that exited, otherwise 0.
int VrpsExecPrgm(const wchar_t *command, int *exitCode, int waitSeconds);
int MacExecPrgm(const wchar_t *command, int *exitCode, int waitSeconds);
