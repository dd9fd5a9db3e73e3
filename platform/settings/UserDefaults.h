// The flat key/value store that holds every preference and first-run flag of the program.
//
// A backend stores values of six shapes; the typed readers below coerce between them the way
// the program relies on: a missing key reads as false, 0, 0.0 or no value, never an error.
// Backends are safe to use from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orvane::platform {

using Blob = std::vector<std::uint8_t>;
using StringArray = std::vector<std::string>;

// One stored value. A colour is kept as an opaque blob.
using DefaultsValue = std::variant<bool, std::int64_t, double, std::string, StringArray, Blob>;

class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    // The stored value, or nothing when the key is absent.
    virtual std::optional<DefaultsValue> objectForKey(std::string_view key) const = 0;
    // Stores a value; no value removes the key, as storing nil does.
    virtual void setObject(std::string_view key, std::optional<DefaultsValue> value) = 0;
    // Every key present, sorted.
    virtual std::vector<std::string> allKeys() const = 0;

    // Stores what `change` makes of the key's current value in one step that no other writer of
    // the store, in this process or another, comes between (a counter two programs advance);
    // answers the value `change` was given.
    using ValueChange =
        std::function<std::optional<DefaultsValue>(const std::optional<DefaultsValue>&)>;
    virtual std::optional<DefaultsValue> updateObject(std::string_view key,
                                                      const ValueChange& change);

    // Groups the sets made until the matching endChanges() into one write, for a store whose
    // every write is dear (a file synced to disk). Reads see each set at once. Pairs nest; the
    // outermost end writes. A store that keeps nothing on disk ignores both.
    virtual void beginChanges() {}
    virtual void endChanges() {}

    // beginChanges() for the lifetime of the scope.
    class ChangeBatch {
      public:
        explicit ChangeBatch(UserDefaults& defaults) : _defaults(defaults) {
            _defaults.beginChanges();
        }
        ~ChangeBatch() { _defaults.endChanges(); }
        ChangeBatch(const ChangeBatch&) = delete;
        ChangeBatch& operator=(const ChangeBatch&) = delete;

      private:
        UserDefaults& _defaults;
    };

    // Typed readers. Numbers, booleans and numeric strings convert into each other; any other
    // shape reads as the zero value.
    bool boolForKey(std::string_view key) const;
    std::int64_t integerForKey(std::string_view key) const;
    // A value as integerForKey reads it.
    static std::int64_t integerOf(const std::optional<DefaultsValue>& value);
    float floatForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    // A string, or a number written as text; nothing for other shapes.
    std::optional<std::string> stringForKey(std::string_view key) const;
    // An array of strings; nothing for other shapes.
    std::optional<StringArray> stringArrayForKey(std::string_view key) const;
    // A blob; nothing for other shapes.
    std::optional<Blob> dataForKey(std::string_view key) const;

    void setBool(std::string_view key, bool value);
    void setInteger(std::string_view key, std::int64_t value);
    // Stores the double that prints as the float's shortest decimal, so 0.4f reads back as 0.4f
    // and shows as 0.4 in a file.
    void setFloat(std::string_view key, float value);
    void setDouble(std::string_view key, double value);
    void setString(std::string_view key, std::optional<std::string> value);
    void setStringArray(std::string_view key, std::optional<StringArray> value);
    void setData(std::string_view key, std::optional<Blob> value);
};

}  // namespace orvane::platform
