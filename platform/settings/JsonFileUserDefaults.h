// The settings store kept in a JSON file, shared safely by the camera and the command line.
//
// The file is one pretty-printed JSON object, one member per key:
//   bool                 -> true / false
//   integer              -> 42
//   double               -> 0.4, 1.0 (always with a fraction or exponent, so a whole double
//                           reads back as a double); NaN and infinities, which JSON cannot
//                           hold, are written as the strings "nan", "inf" and "-inf", which the
//                           typed readers turn back into numbers
//   string               -> "text"
//   array of strings     -> ["a", "b"]
//   blob (a colour)      -> {"data": "<standard base64 with padding>"}
// A member of any other form (null, another object, an array that is not all strings, an
// integer past the 64-bit range) is kept verbatim across rewrites, logged once naming its key,
// and reads as absent. An empty file, or one of only white space, is simply an empty store: it
// holds nothing that could be lost, and the next write replaces it.
//
// Every set writes at once, or at the end of a batch of changes (beginChanges): a temporary file in
// the same directory, fsync, rename over the file, fsync of the directory. Writers of all processes
// take an advisory lock (flock on "defaults.json.lock" beside the file) and, when the file changed
// since this instance last read it, take in what is on disk and apply only their own unsaved
// changes over it, so two processes setting different keys both keep their values (on the same key
// the last writer wins). A file that is a symbolic link is written where it points, so the link
// stays. Setting a value the file already holds writes nothing. Text that is not UTF-8 is written
// with replacement characters and logged; the exact bytes stay in memory for this run.
//
// Staleness: reads come from the copy in memory, refreshed when the store opens and on each
// write of this instance. A change another process makes is seen here only after this
// instance's next write, or by a new instance. A read waits while this instance is writing.
//
// A broken file (not JSON, JSON that is not an object or that nests arrays and objects more
// than kMaxJsonNesting deep, bytes that are not UTF-8) is moved aside to
// "defaults.json.broken-YYYYMMDD-HHMMSS" (local time, with "-2", "-3"... when that exists) and
// reported. Found on opening, the store starts empty; found by a later write, this run's
// values are written in its place. When it cannot be moved, or the file cannot be read at all,
// the store keeps its values in memory for this run and never touches the file.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "foundation/Error.h"
#include "platform/settings/UserDefaults.h"
#include "platform/settings/defaults_document.h"

namespace orvane::platform {

class JsonFileUserDefaults final : public UserDefaults {
  public:
    static constexpr const char* kFileName = "defaults.json";
    static constexpr const char* kErrorDomain = "Orvane.Settings";

    // $XDG_CONFIG_HOME/orvane, or $HOME/.config/orvane when XDG_CONFIG_HOME is unset, empty or
    // not absolute; the account's home directory stands in for an unset HOME.
    static std::filesystem::path defaultDirectory();

    // Opens the store in `directory` (created on first write). Never throws for a broken file.
    explicit JsonFileUserDefaults(std::filesystem::path directory);

    JsonFileUserDefaults(const JsonFileUserDefaults&) = delete;
    JsonFileUserDefaults& operator=(const JsonFileUserDefaults&) = delete;

    const std::filesystem::path& path() const { return _path; }
    // Set when the file was found broken: names where it went, or why it stayed.
    std::optional<std::string> recoveryMessage() const;
    // The error of the latest write, or nothing if it succeeded.
    std::optional<foundation::Error> lastWriteError() const;

    std::optional<DefaultsValue> objectForKey(std::string_view key) const override;
    // Writes the file before returning; safe from any thread.
    void setObject(std::string_view key, std::optional<DefaultsValue> value) override;
    std::vector<std::string> allKeys() const override;
    std::optional<DefaultsValue> updateObject(std::string_view key,
                                              const ValueChange& change) override;
    void beginChanges() override;
    // Writes what the batch changed; lastWriteError() then tells whether that worked.
    void endChanges() override;

  private:
    using Contents = DefaultsDocument;

    static void apply(Contents& contents, std::string_view key,
                      const std::optional<DefaultsValue>& value);
    // The file's bytes, or nothing when there is no file; the errno when it cannot be read.
    int readBytes(std::optional<std::string>& text) const;
    // Decodes a document; false with `problem` set when it is not a settings object.
    bool parse(const std::string& text, Contents& contents, std::string& problem);
    // Takes in the file when it differs from what this instance last saw. Returns false when
    // the file must not be written. `opening` is true from the constructor. Called with _mutex
    // held.
    bool refresh(bool opening);
    // Moves a broken file aside and records the report; false when it stays in place.
    bool setAside(const std::string& reason, bool opening);
    void goMemoryOnly(const std::string& message, int error);
    // Takes the lock, merges with a changed file, writes. Called with _mutex held.
    void save();
    // The two halves of save, with the lock held: the file read again with this run's pending
    // changes over it (false when the store went memory-only), and the write.
    bool refreshUnderLock();
    void writeUnderLock();
    void recordWriteError(int error, const std::string& step);

    const std::filesystem::path _directory;
    const std::filesystem::path _path;
    const std::filesystem::path _lockPath;

    mutable std::mutex _mutex;
    // All below are guarded by _mutex.
    Contents _contents;  // the file as last read, with this run's changes applied
    // Changes not yet on disk (nothing means removal), re-applied over a newer file.
    std::map<std::string, std::optional<DefaultsValue>, std::less<>> _pending;
    std::set<std::string, std::less<>> _reportedUnknown;
    // The bytes last read or written, to tell whether another writer replaced the file.
    std::optional<std::string> _fileText;
    bool _memoryOnly = false;
    int _batchDepth = 0;  // sets inside a batch wait for its end to be written
    std::optional<std::string> _recoveryMessage;
    std::optional<foundation::Error> _lastWriteError;
};

}  // namespace orvane::platform
