// SPDX-License-Identifier: MIT
#pragma once

/// Opens an address in the user's browser: http, https and mailto addresses, and existing .html, .htm and
/// .pdf files on the local disk. False for anything else and when the browser could not be started.
bool VrpsRunBrowser(const wchar_t *url);
