// SPDX-License-Identifier: MIT
#include "vrc/include/vrc.h"

#include "vrc/own_folder.h"

#include <dlfcn.h>

// What a program links. The library proper, libvrc-core, stands beside it and is loaded by the first request:
// with it come the libraries for transport and TLS, which would otherwise delay a program's first window.

namespace {

struct Library
{
    decltype(&VrOpenRequest) openRequest = nullptr;
    decltype(&VrCommand) command = nullptr;
    decltype(&VrCloseRequest) closeRequest = nullptr;

    [[nodiscard]] bool isComplete() const
    {
        return openRequest != nullptr && command != nullptr && closeRequest != nullptr;
    }
};

#ifdef __APPLE__
constexpr char coreName[] = "libvrc-core.dylib";
#else
constexpr char coreName[] = "libvrc-core.so";
#endif

template <typename Function>
void find(void *core, const char *name, Function &function)
{
    function = reinterpret_cast<Function>(dlsym(core, name));
}

/// Complete, or without any function when the library proper cannot be loaded. It stays loaded.
Library loadLibrary()
{
    Library library;
    void *core = dlopen((vrc::ownFolder() + coreName).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (core == nullptr) {
        return library;
    }
    find(core, "VrOpenRequest", library.openRequest);
    find(core, "VrCommand", library.command);
    find(core, "VrCloseRequest", library.closeRequest);
    return library.isComplete() ? library : Library{};
}

const Library &library()
{
    static const Library loaded = loadLibrary();
    return loaded;
}

} // namespace

void *VrOpenRequest(const char *connection)
{
    try {
        return library().openRequest == nullptr ? nullptr : library().openRequest(connection);
    } catch (...) { // no memory for the path of the library
        return nullptr;
    }
}

int VrCommand(void *request, const char *command, char *result, int capacity, int *extra)
{
    if (request == nullptr || library().command == nullptr) {
        if (result != nullptr && capacity > 0) {
            *result = '\0';
        }
        return 0;
    }
    return library().command(request, command, result, capacity, extra);
}

void VrCloseRequest(void *request)
{
    if (request != nullptr && library().closeRequest != nullptr) {
        library().closeRequest(request);
    }
}
