// SPDX-License-Identifier: MIT
#include "tests/torture/failing_new.h"

#include "vrc/include/vrc.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

struct Plan
{
    bool isInLibrary = false;
    bool isLasting = false;
    std::uint64_t failAt = 0;
    std::uint64_t count = 0;
};

thread_local Plan plan;
std::atomic<std::int64_t> livingBlocks = 0;

/// Stands before every block.
struct alignas(std::max_align_t) Head
{
    bool isOfLibrary;
};

bool mustFail()
{
    if (!plan.isInLibrary) {
        return false;
    }
    ++plan.count;
    return plan.failAt != 0 && (plan.isLasting ? plan.count >= plan.failAt : plan.count == plan.failAt);
}

void *allocate(std::size_t bytes)
{
    void *block = mustFail() ? nullptr : std::malloc(bytes + sizeof(Head));
    if (block == nullptr) {
        return nullptr;
    }
    new (block) Head{plan.isInLibrary};
    livingBlocks += plan.isInLibrary ? 1 : 0;
    return static_cast<Head *>(block) + 1;
}

void release(void *pointer) noexcept
{
    if (pointer != nullptr) {
        Head *head = static_cast<Head *>(pointer) - 1;
        livingBlocks -= head->isOfLibrary ? 1 : 0;
        std::free(head);
    }
}

class InLibrary
{
public:
    InLibrary() { plan.isInLibrary = true; }

    ~InLibrary()
    {
        plan.isInLibrary = false;
        if (plan.count >= plan.failAt) {
            plan.failAt = 0; // there is memory again
        }
    }

    InLibrary(const InLibrary &) = delete;
    InLibrary &operator=(const InLibrary &) = delete;
};

} // namespace

void failing_new::failAt(std::uint64_t n, bool isLasting)
{
    plan.failAt = n;
    plan.isLasting = isLasting;
    plan.count = 0;
}

std::uint64_t failing_new::counted()
{
    return plan.count;
}

std::int64_t failing_new::living()
{
    return livingBlocks;
}

void *operator new(std::size_t bytes)
{
    void *block = allocate(bytes);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void *operator new[](std::size_t bytes)
{
    return operator new(bytes);
}

void *operator new(std::size_t bytes, const std::nothrow_t &) noexcept
{
    return allocate(bytes);
}

void *operator new[](std::size_t bytes, const std::nothrow_t &) noexcept
{
    return allocate(bytes);
}

void operator delete(void *pointer) noexcept
{
    release(pointer);
}

void operator delete[](void *pointer) noexcept
{
    release(pointer);
}

void operator delete(void *pointer, std::size_t) noexcept
{
    release(pointer);
}

void operator delete[](void *pointer, std::size_t) noexcept
{
    release(pointer);
}

/// The linker leads the calls of the three functions here (--wrap), and from here to the library.
extern "C" {
void *__real_VrOpenRequest(const char *connection);
int __real_VrCommand(void *request, const char *command, char *result, int capacity, int *extra);
void __real_VrCloseRequest(void *request);

void *__wrap_VrOpenRequest(const char *connection)
{
    const InLibrary inLibrary;
    return __real_VrOpenRequest(connection);
}

int __wrap_VrCommand(void *request, const char *command, char *result, int capacity, int *extra)
{
    const InLibrary inLibrary;
    return __real_VrCommand(request, command, result, capacity, extra);
}

void __wrap_VrCloseRequest(void *request)
{
    const InLibrary inLibrary;
    __real_VrCloseRequest(request);
}
}
