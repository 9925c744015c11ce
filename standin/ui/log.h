// The host's log: every message kept in order for inspection, and echoed as the host's
// script editor shows it ("# ERROR : ..."), so batch runs read like a session transcript.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

struct LogEntry {
    int severity;  // siSeverityType: 1 fatal, 2 error, 4 warning, 8 info, 16 verbose, 32 comment
    std::wstring text;
};

class Log {
public:
    Log();  // echoes to std::cout

    void Add(std::wstring text, int severity = 8);

    void SetStream(std::ostream& out) { out_ = &out; }  // must outlive the log's use of it
    void SetEcho(bool on) { echo_ = on; }
    bool Echo() const { return echo_; }

    const std::vector<LogEntry>& entries() const { return entries_; }
    std::size_t Count() const { return entries_.size(); }
    void Clear() { entries_.clear(); }
    // Entries from `index` on: remember Count() before an action, then see what it logged.
    std::vector<LogEntry> LinesSince(std::size_t index) const;
    // Whether any message contains `text` (a substring, so tests need not spell whole lines).
    bool Contains(std::wstring_view text) const;
    std::size_t CountWith(int severity) const;

    // "# ERROR : " etc.; an unknown severity gets the plain comment prefix "# ".
    static const char* Prefix(int severity);

private:
    std::vector<LogEntry> entries_;
    std::ostream* out_;
    bool echo_ = true;
};

}  // namespace standin
