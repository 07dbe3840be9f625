// SPDX-License-Identifier: MIT
#include "vrc/include/vrc.h"

/// A client library that reaches no server: run modes are tested without one.

void *VrOpenRequest(const char *)
{
    return nullptr;
}

int VrCommand(void *, const char *, char *, int, int *)
{
    return 0;
}

void VrCloseRequest(void *)
{}
