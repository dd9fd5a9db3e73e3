#include "app/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>

#include "app/frame_command.h"
#include "app/library_command.h"
#include "app/logo_command.h"
#include "app/record_command.h"
#include "app/settings_command.h"
#include "app/settings_values.h"
#include "app/stamp_commands.h"
#include "app/where_command.h"
#include "foundation/Clock.h"
#include "foundation/strings.h"
#include "platform/settings/JsonFileUserDefaults.h"
#include "screen/settings_reset.h"

namespace orvane::app {

namespace {

enum class Command {
    None,
    List,
    Get,
    Set,
    ResetStamp,
    Formats,
    Lunar,
    Where,
    Frame,
    Record,
    LibraryList,
    LibraryRecover,
    LogoShow,
    LogoSet,
    LogoOff
};

struct Request {
    Command command = Command::None;
    std::string configDirectory;
    std::string key;
    std::vector<std::string> words;
    FormatsOptions formats;
    std::string lunarDate;
    std::string logoPath;
    WhereOptions where;
    FrameOptions frame;
    RecordOptions record;
};

// A command whose key and value are known good, ready to run on the store.
struct Prepared {
    const screen::SettingKey* key = nullptr;
    screen::SettingValue value;
};

std::optional<Prepared> prepare(const Request& request, std::ostream& err) {
    Prepared prepared;
    if (request.command != Command::Get && request.command != Command::Set) {
        return prepared;
    }
    prepared.key = screen::findSettingKey(request.key);
    if (!prepared.key) {
        err << "orvane: unknown settings key \"" << request.key
            << "\" (orvane settings list shows them all)\n";
        return std::nullopt;
    }
    if (request.command == Command::Set) {
        auto parsed = parseSettingValue(*prepared.key, request.words);
        if (!parsed.value) {
            err << "orvane: \"" << request.key << "\" " << parsed.problem
                << "; nothing was changed\n";
            return std::nullopt;
        }
        prepared.value = std::move(*parsed.value);
    }
    return prepared;
}

void addConfigOption(CLI::App& app, Request& request) {
    app.add_option("--config-dir", request.configDirectory,
                   "Folder of the settings store (default: $XDG_CONFIG_HOME/orvane)")
        ->envname("ORVANE_CONFIG_DIR");
}

void addSettingsCommands(CLI::App& app, Request& request) {
    auto* settings = app.add_subcommand("settings", "Show and change the stored settings");
    settings->require_subcommand(1);
    settings->fallthrough();

    auto* list = settings->add_subcommand("list", "Every key with the value the program reads");
    list->callback([&request] { request.command = Command::List; });

    auto* get = settings->add_subcommand("get", "The value of one key, through its reading rule");
    get->add_option("key", request.key, "Settings key")->required();
    get->callback([&request] { request.command = Command::Get; });

    auto* set = settings->add_subcommand("set", "Store a value, typed by the key");
    set->add_option("key", request.key, "Settings key")->required();
    set->add_option("value", request.words, "The value; a list takes any number of items")
        ->expected(0, -1);
    set->callback([&request] { request.command = Command::Set; });

    auto* reset = settings->add_subcommand("reset-stamp", "Return the stamp to its first state");
    reset->callback([&request] { request.command = Command::ResetStamp; });

    for (auto* command : {list, get, set, reset}) {
        command->fallthrough();
    }
}

void addStampCommands(CLI::App& app, Request& request) {
    auto* formats = app.add_subcommand(
        "formats", "Every time, coordinate and lunar row, and the stamp's blocks, for one moment");
    auto& options = request.formats;
    formats->add_option("--lat", options.latitude, "Latitude in degrees, north positive");
    formats->add_option("--lon", options.longitude, "Longitude in degrees, east positive");
    formats->add_option("--alt", options.altitude, "Altitude in metres");
    formats->add_option("--speed", options.speed, "Speed in metres per second");
    formats->add_option("--accuracy", options.accuracy, "Horizontal accuracy in metres");
    formats->add_option("--heading", options.heading, "Compass heading in degrees");
    formats->add_option("--time", options.time,
                        "The moment, ISO 8601 (2024-02-10T12:00:00+08:00); default now");
    formats->callback([&request] { request.command = Command::Formats; });
    formats->fallthrough();

    auto* lunar = app.add_subcommand("lunar", "The lunar calendar's month, day, festival and term");
    lunar->add_option("date", request.lunarDate, "The date, YYYY-MM-DD")->required();
    lunar->callback([&request] { request.command = Command::Lunar; });

    auto* where = app.add_subcommand(
        "where", "The position and every coordinate and address form the stamp would offer");
    where->add_option("--source", request.where.source,
                      "Position source: sim, gpsd[://HOST[:PORT]], nmea:DEVICE[@BAUD], "
                      "nmea-file:PATH or gpx:PATH (default: sim)");
    where->add_option("--geocoder", request.where.geocoder,
                      "offline, or the base URL of a Nominatim-compatible service (default: the "
                      "stored GeocoderURL, else offline)");
    where->add_flag("--watch", request.where.watch,
                    "Print a block for every accepted fix until interrupted");
    where->callback([&request] { request.command = Command::Where; });
    where->fallthrough();

    auto* frame = app.add_subcommand(
        "frame", "Stamp one frame with the current settings and write it as a PNG");
    auto& f = request.frame;
    frame->add_option("--out", f.out, "The PNG file to write")->required();
    frame->add_option("--in", f.in, "A PNG picture to stamp (default: the synthetic scene)");
    frame->add_option("--synthetic", f.synthetic, "The synthetic scene's size (default 1920x1080)");
    frame->add_option("--photo", f.photo,
                      "A PNG or JPEG picture drawn in place of the camera, fitted to the frame");
    frame->add_option("--orientation", f.orientation,
                      "1 portrait, 2 upside down, 3 landscape (default), 4 landscape turned");
    frame->add_option("--position", f.position,
                      "Text position: 0 top left, 1 top centre, 2 top right, 3 bottom left, 4 "
                      "bottom centre, 5 bottom right (default: the stored one)");
    frame->add_option("--margin", f.margin,
                      "Margins: 0 none, 1 one line, 2 printable, 3 half line (default: stored)");
    frame->add_option("--gl", f.gl, "GL platform: auto, device or surfaceless");
    frame->add_flag("--dance", f.dance, "Bend the picture as dance mode's first frame does");
    frame->add_option("--lat", f.stamp.latitude, "Latitude in degrees, north positive");
    frame->add_option("--lon", f.stamp.longitude, "Longitude in degrees, east positive");
    frame->add_option("--alt", f.stamp.altitude, "Altitude in metres");
    frame->add_option("--speed", f.stamp.speed, "Speed in metres per second");
    frame->add_option("--accuracy", f.stamp.accuracy, "Horizontal accuracy in metres");
    frame->add_option("--heading", f.stamp.heading, "Compass heading in degrees");
    frame->add_option("--time", f.stamp.time, "The moment, ISO 8601 (default: now)");
    frame->callback([&request] { request.command = Command::Frame; });
    frame->fallthrough();
}

void addRecordCommand(CLI::App& app, Request& request) {
    auto* record = app.add_subcommand(
        "record", "Record a stamped movie into the photo library and print where it is");
    auto& r = request.record;
    record->add_option("--duration", r.duration,
                       "Seconds to record; 0 records until SIGINT or SIGTERM (default 10)");
    record->add_option("--mode", r.mode, "video, timelapse, square or dance (default video)");
    record->add_option("--camera", r.camera, "The camera: sim, the synthetic one (default)");
    record->add_option("--location", r.location,
                       "Position source: sim, gpsd[://HOST[:PORT]], nmea:DEVICE[@BAUD], "
                       "nmea-file:PATH or gpx:PATH (default: sim)");
    record->add_option("--geocoder", r.geocoder,
                       "offline, or the base URL of a Nominatim-compatible service (default: the "
                       "stored GeocoderURL, else offline)");
    record->add_option("--gl", r.gl, "GL platform: auto, device or surfaceless");
    record->callback([&request] { request.command = Command::Record; });
    record->fallthrough();
}

void addLibraryCommands(CLI::App& app, Request& request) {
    auto* library = app.add_subcommand("library", "The photo library the captures go to");
    library->require_subcommand(1);
    library->fallthrough();
    auto* list = library->add_subcommand(
        "list", "Every asset: identifier, type, creation time and file (ORVANE_LIBRARY_DIR)");
    list->callback([&request] { request.command = Command::LibraryList; });
    list->fallthrough();
    auto* recover = library->add_subcommand(
        "recover", "Deliver the movies that killed or crashed recordings left, as far as written");
    recover->callback([&request] { request.command = Command::LibraryRecover; });
    recover->fallthrough();
}

void addLogoCommands(CLI::App& app, Request& request) {
    auto* logo = app.add_subcommand(
        "logo", "The picture drawn in every capture, kept in $XDG_DATA_HOME/orvane");
    logo->callback([&request] {
        if (request.command == Command::None) {
            request.command = Command::LogoShow;
        }
    });
    logo->fallthrough();
    auto* set = logo->add_subcommand("set", "Make a PNG or JPEG picture the logo and turn it on");
    set->add_option("PATH", request.logoPath, "The picture")->required();
    set->callback([&request] { request.command = Command::LogoSet; });
    set->fallthrough();
    auto* off = logo->add_subcommand("off", "Draw no logo");
    off->callback([&request] { request.command = Command::LogoOff; });
    off->fallthrough();
}

}  // namespace

int runCommandLine(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
                   const CommandEnvironment& environment) {
    CLI::App app{"Orvane: a camera that stamps what it records", "orvane"};
    app.set_version_flag("--version", std::string("orvane ") + ORVANE_VERSION);
    Request request;
    addConfigOption(app, request);
    addSettingsCommands(app, request);
    addStampCommands(app, request);
    addRecordCommand(app, request);
    addLibraryCommands(app, request);
    addLogoCommands(app, request);

    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& e) {
        return app.exit(e, out, err);
    }
    if (request.command == Command::None) {
        out << app.help();
        return 0;
    }

    switch (request.command) {
        case Command::Lunar:
            return printLunar(request.lunarDate, out, err);
        case Command::LogoShow:
            return showLogo(out, err);
        case Command::LogoSet:
            return setLogo(request.logoPath, out, err);
        case Command::LogoOff:
            return turnLogoOff(out, err);
        default:
            break;
    }
    if (request.command == Command::Formats) {
        if (auto problem = checkFormatsOptions(request.formats)) {
            err << "orvane formats: " << *problem << "\n";
            return 1;
        }
    }
    if (request.command == Command::Where) {
        if (auto problem = checkWhereOptions(request.where)) {
            err << "orvane where: " << *problem << "\n";
            return 1;
        }
    }

    if (request.command == Command::Record) {
        if (auto problem = checkRecordOptions(request.record)) {
            err << "orvane record: " << *problem << "\n";
            return 1;
        }
    }
    if (request.command == Command::Frame) {
        if (auto problem = checkFrameOptions(request.frame)) {
            err << "orvane frame: " << *problem << "\n";
            return 1;
        }
    }

    auto prepared = prepare(request, err);
    if (!prepared) {
        return 1;
    }

    const std::filesystem::path directory = request.configDirectory.empty()
                                                ? platform::JsonFileUserDefaults::defaultDirectory()
                                                : std::filesystem::path(request.configDirectory);
    // A broken settings file is reported by the store itself as it moves the file aside.
    auto opened = environment.openStore(directory);
    const std::string language = environment.languageCode.empty()
                                     ? foundation::preferredLanguageCode()
                                     : environment.languageCode;
    auto& cache = environment.cache ? *environment.cache : screen::SettingsCache::shared();
    screen::SettingsStore store(opened->defaults(), cache);
    const auto launch = screen::loadSettingsAtLaunch(store, environment.device, language);

    int status = 0;
    switch (request.command) {
        case Command::List:
            listSettings(store, freshSettingValues(environment.device, language), out);
            break;
        case Command::Get:
            getSetting(store, *prepared->key, out);
            break;
        case Command::Set:
            setSetting(store, *prepared->key, prepared->value);
            break;
        case Command::ResetStamp:
            screen::resetTextSettings(store, language);
            break;
        case Command::Formats:
            printFormats(store, cache, launch.stampLayer, request.formats,
                         foundation::systemClock().timeIntervalSince1970(), out);
            break;
        case Command::Where:
            status = runWhere(request.where, store, cache, launch.stampLayer, language, out, err);
            break;
        case Command::Frame:
            status = runFrame(request.frame, store, cache, launch,
                              foundation::systemClock().timeIntervalSince1970(), out, err);
            break;
        case Command::Record:
            status = runRecord(request.record, store, cache, launch, language, out, err);
            break;
        case Command::LibraryList:
            status = listLibrary(opened->defaults(), out, err);
            break;
        case Command::LibraryRecover:
            status = recoverLibrary(opened->defaults(), out, err);
            break;
        default:
            break;
    }

    if (auto error = opened->lastWriteError()) {
        err << "orvane: ";
        if (request.command == Command::Set) {
            err << "\"" << request.key << "\" was not saved: ";
        }
        err << "could not write " << opened->location() << ": " << error->message() << "\n";
        return 1;
    }
    return status;
}

}  // namespace orvane::app
