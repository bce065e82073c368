// Loaded before the workbench: the machine's work that makes the HELD_FOLDERth temporary folder stands still until
// somebody opens the pipe HELD_PIPE for writing. This is a machine that takes its time.
#include <atomic>
#include <cstdlib>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) char* mkdtemp(char* iop_name) noexcept
{
    static std::atomic<int> mgp_folders = 0;
    // The program's own thread makes folders too.
    if (gettid() != getpid() && ++mgp_folders == std::atoi(std::getenv("HELD_FOLDER")))
        close(open(std::getenv("HELD_PIPE"), O_RDONLY | O_CLOEXEC));
    using Function = char* (*)(char*);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "mkdtemp"))(iop_name);
}
