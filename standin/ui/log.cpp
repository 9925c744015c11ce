#include "ui/log.h"

#include <algorithm>
#include <iostream>

#include "ui/utf8.h"

namespace standin {

Log::Log() : out_(&std::cout) {}

const char* Log::Prefix(int severity) {
    switch (severity) {
    case 1: return "# FATAL : ";
    case 2: return "# ERROR : ";
    case 4: return "# WARNING : ";
    case 8: return "# INFO : ";
    case 16: return "# VERBOSE : ";
    default: return "# ";
    }
}

void Log::Add(std::wstring text, int severity) {
    // Flushed per line so the log stays in order with other output and survives a crash.
    if (echo_ && out_) *out_ << Prefix(severity) << ToUtf8(text) << std::endl;
    entries_.push_back({severity, std::move(text)});
}

std::vector<LogEntry> Log::LinesSince(std::size_t index) const {
    if (index >= entries_.size()) return {};
    return {entries_.begin() + static_cast<std::ptrdiff_t>(index), entries_.end()};
}

bool Log::Contains(std::wstring_view text) const {
    return std::ranges::any_of(entries_, [&](const LogEntry& e) { return e.text.find(text) != std::wstring::npos; });
}

std::size_t Log::CountWith(int severity) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(entries_, [&](const LogEntry& e) { return e.severity == severity; }));
}

}  // namespace standin
