// Operator presets from any bytes: a preset or a std::runtime_error naming the file, nothing
// else (a JSON library exception escaping would be a finding too).
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "scene/operators.h"

namespace {

// The reader takes a path: one in-memory file, rewritten for every input.
const std::string& PresetPath() {
    static const std::string path = [] {
        const int fd = ::memfd_create("preset.json", 0);
        if (fd < 0) std::abort();
        return "/proc/self/fd/" + std::to_string(fd);
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string& path = PresetPath();
    const int fd = std::stoi(path.substr(path.rfind('/') + 1));
    if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
    try {
        standin::OperatorPreset p = standin::LoadPreset(path);
        if (p.update.empty()) __builtin_trap();  // required: a preset without one must be refused
    } catch (const std::runtime_error&) {
    }
    return 0;
}
