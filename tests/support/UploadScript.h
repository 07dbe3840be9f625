// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ScriptedLibrary.h"
#include "vrp/server/directory_parameters.h"

#include <initializer_list>
#include <string>

/// The parameters of an upload server.
[[nodiscard]] ParameterMap uploadParameters();

/// The script of an upload server that offers these modes, receives `compressedBytes` and `plainBytes` whole
/// and gives the document the identifier FILE-7.
void scriptUpload(ScriptedLibrary &library, int plainBytes, int compressedBytes,
                  std::initializer_list<const char *> modes = {"STANDARD", "ASYNC", "TUNNEL"});

/// Answers the entries of a list object, PRINTING_MODES for instance.
void scriptStringList(ScriptedLibrary &library, const std::string &name,
                      std::initializer_list<const char *> entries);

/// Answers the rows of TUNNEL_SERVICES, with several services offered.
void scriptServices(ScriptedLibrary &library, std::initializer_list<const char *> rows);
