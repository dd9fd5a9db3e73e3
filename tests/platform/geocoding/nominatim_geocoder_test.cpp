// The online geocoder against a loopback server answering in the Nominatim format: the request
// it sends, the placemarks it maps, each way a request fails, and one request at a time.
#include "platform/geocoding/NominatimGeocoder.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "foundation/DispatchQueue.h"
#include "platform/geocoding/nominatim_answer.h"
#include "tests/platform/geocoding/http_test_server.h"

namespace orvane::platform {
namespace {

using testing::HttpTestServer;

const char* const kParisStreet = R"({
  "place_id": 88066702, "licence": "Data (c) OpenStreetMap contributors, ODbL 1.0.",
  "osm_type": "node", "osm_id": 5013364098, "lat": "48.8582602", "lon": "2.2944991",
  "category": "place", "type": "house", "place_rank": 30, "importance": 0.00001,
  "addresstype": "place", "name": "",
  "display_name": "5, Avenue Anatole France, Gros-Caillou, Paris, 75007, France",
  "address": {"house_number": "5", "road": "Avenue Anatole France",
              "tourism": "Tour Eiffel", "quarter": "Gros-Caillou",
              "suburb": "Paris 7e Arrondissement", "city_district": "Paris",
              "city": "Paris", "ISO3166-2-lvl6": "FR-75C", "state": "Île-de-France",
              "ISO3166-2-lvl4": "FR-IDF", "region": "France métropolitaine",
              "postcode": "75007", "country": "France", "country_code": "fr"},
  "boundingbox": ["48.8582102", "48.8583102", "2.2944491", "2.2945491"]})";

const char* const kBeijingSquare = R"({
  "place_id": 240109189, "lat": "39.9054895", "lon": "116.3976317",
  "category": "tourism", "type": "attraction", "name": "天安门广场",
  "display_name": "天安门广场, 东长安街, 东华门街道, 东城区, 北京市, 100006, 中国",
  "address": {"tourism": "天安门广场", "road": "东长安街", "neighbourhood": "东华门街道",
              "suburb": "东城区", "city": "北京市", "ISO3166-2-lvl4": "CN-BJ",
              "postcode": "100006", "country": "中国", "country_code": "cn"}})";

const char* const kOpenSea = R"({
  "place_id": 1, "lat": "36.0", "lon": "-25.0", "category": "natural", "type": "sea",
  "name": "North Atlantic Ocean", "display_name": "North Atlantic Ocean",
  "address": {"natural": "North Atlantic Ocean"}})";

const char* const kLake = R"({
  "lat": "46.45", "lon": "6.55", "category": "natural", "type": "water",
  "name": "Lac Léman", "address": {"natural": "Lac Léman", "county": "District de Morges",
  "state": "Vaud", "country": "Schweiz/Suisse/Svizzera/Svizra", "country_code": "ch"}})";

// Waits for one completion on the callback queue.
struct Answer {
    std::mutex mutex;
    std::condition_variable done;
    bool arrived = false;
    std::vector<Placemark> placemarks;
    std::optional<foundation::Error> error;

    Geocoder::Completion completion() {
        return [this](std::vector<Placemark> p, std::optional<foundation::Error> e) {
            std::lock_guard lock(mutex);
            EXPECT_FALSE(arrived) << "completion called twice";
            placemarks = std::move(p);
            error = std::move(e);
            arrived = true;
            done.notify_all();
        };
    }

    bool wait() {
        std::unique_lock lock(mutex);
        return done.wait_for(lock, std::chrono::seconds(20), [this] { return arrived; });
    }

    bool hasArrived() {
        std::lock_guard lock(mutex);
        return arrived;
    }
};

class NominatimGeocoderTest : public ::testing::Test {
  protected:
    std::unique_ptr<NominatimGeocoder> geocoder(const std::string& baseUrl,
                                                const std::string& language = "fr",
                                                double timeout = 10) {
        return std::make_unique<NominatimGeocoder>(
            NominatimOptions{baseUrl, "ops@example.org", language, timeout}, _queue);
    }

    static Location at(double latitude, double longitude) {
        return Location({latitude, longitude}, std::nullopt, 5, -1, 0);
    }

    std::shared_ptr<foundation::SerialQueue> _queue =
        foundation::SerialQueue::create("test.nominatim.callback");
};

TEST_F(NominatimGeocoderTest, AsksForTheReverseAddressInTheUsersLanguage) {
    HttpTestServer server([](const auto&) { return HttpTestServer::Reply{200, kParisStreet}; });
    auto nominatim = geocoder(server.baseUrl() + "/nominatim/", "fr");
    Answer answer;
    nominatim->reverseGeocodeLocation(at(48.85826, 2.2945), answer.completion());
    ASSERT_TRUE(answer.wait());

    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1u);
    const auto& request = requests[0];
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/nominatim/reverse");
    EXPECT_EQ(request.parameter("format"), "jsonv2");
    EXPECT_EQ(request.parameter("lat"), "48.8582600");
    EXPECT_EQ(request.parameter("lon"), "2.2945000");
    EXPECT_EQ(request.parameter("addressdetails"), "1");
    EXPECT_EQ(request.parameter("zoom"), "18");
    EXPECT_EQ(request.parameter("accept-language"), "fr");
    EXPECT_EQ(request.headers.at("user-agent"), "Orvane/" ORVANE_VERSION " (ops@example.org)");
    EXPECT_EQ(request.headers.at("accept-language"), "fr");
}

TEST_F(NominatimGeocoderTest, MapsAStreetInParis) {
    HttpTestServer server([](const auto&) { return HttpTestServer::Reply{200, kParisStreet}; });
    auto nominatim = geocoder(server.baseUrl(), "fr");
    Answer answer;
    nominatim->reverseGeocodeLocation(at(48.85826, 2.2945), answer.completion());
    ASSERT_TRUE(answer.wait());
    ASSERT_FALSE(answer.error) << answer.error->message();
    ASSERT_EQ(answer.placemarks.size(), 1u);
    const Placemark& p = answer.placemarks[0];
    EXPECT_EQ(p.name, std::nullopt);  // "" is nothing
    EXPECT_EQ(p.thoroughfare, "Avenue Anatole France");
    EXPECT_EQ(p.subThoroughfare, "5");
    EXPECT_EQ(p.subLocality, "Paris 7e Arrondissement");
    EXPECT_EQ(p.locality, "Paris");
    EXPECT_EQ(p.subAdministrativeArea, std::nullopt);
    EXPECT_EQ(p.administrativeArea, "Île-de-France");
    EXPECT_EQ(p.postalCode, "75007");
    EXPECT_EQ(p.country, "France");
    EXPECT_EQ(p.ISOcountryCode, "FR");
    EXPECT_EQ(p.ocean, std::nullopt);
    EXPECT_EQ(p.areasOfInterest, std::vector<std::string>{"Tour Eiffel"});
    ASSERT_TRUE(p.location.has_value());
    EXPECT_DOUBLE_EQ(p.location->coordinate().latitude, 48.8582602);
    EXPECT_EQ(p.formattedAddress, "5 Avenue Anatole France\n75007 Paris\nFrance");
}

TEST_F(NominatimGeocoderTest, MapsAPlaceInBeijingWithChineseNames) {
    HttpTestServer server([](const auto&) { return HttpTestServer::Reply{200, kBeijingSquare}; });
    auto nominatim = geocoder(server.baseUrl(), "zh");
    Answer answer;
    nominatim->reverseGeocodeLocation(at(39.9054895, 116.3976317), answer.completion());
    ASSERT_TRUE(answer.wait());
    ASSERT_FALSE(answer.error) << answer.error->message();
    ASSERT_EQ(answer.placemarks.size(), 1u);
    const Placemark& p = answer.placemarks[0];
    EXPECT_EQ(p.name, "天安门广场");
    EXPECT_EQ(p.thoroughfare, "东长安街");
    EXPECT_EQ(p.subLocality, "东城区");  // the district before the neighbourhood
    EXPECT_EQ(p.locality, "北京市");
    EXPECT_EQ(p.administrativeArea, std::nullopt);
    EXPECT_EQ(p.ISOcountryCode, "CN");
    EXPECT_EQ(p.areasOfInterest, std::vector<std::string>{"天安门广场"});
    EXPECT_EQ(p.formattedAddress, "100006 中国\n北京市\n东城区\n东长安街");
    EXPECT_EQ(server.requests().at(0).headers.at("accept-language"), "zh");
}

TEST_F(NominatimGeocoderTest, WaterBecomesOceanOrInlandWater) {
    struct Row {
        const char* what;
        const char* body;
        std::optional<std::string> ocean;
        std::optional<std::string> inlandWater;
        std::optional<std::string> formattedAddress;
    };
    const std::vector<Row> rows = {
        {"the open sea: no postal text", kOpenSea, "North Atlantic Ocean", std::nullopt,
         std::nullopt},
        {"a lake", kLake, std::nullopt, "Lac Léman",
         "District de Morges\nSchweiz/Suisse/Svizzera/Svizra"},
        {"a street is not water", kParisStreet, std::nullopt, std::nullopt,
         "5 Avenue Anatole France\n75007 Paris\nFrance"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        std::optional<foundation::Error> error;
        const auto placemarks = placemarksFromNominatim(row.body, "fr", error);
        ASSERT_FALSE(error);
        ASSERT_EQ(placemarks.size(), 1u);
        EXPECT_EQ(placemarks[0].ocean, row.ocean);
        EXPECT_EQ(placemarks[0].inlandWater, row.inlandWater);
        EXPECT_EQ(placemarks[0].formattedAddress, row.formattedAddress);
    }
}

TEST_F(NominatimGeocoderTest, MembersOfAnotherKindReadAsAbsent) {
    std::optional<foundation::Error> error;
    const auto placemarks = placemarksFromNominatim(
        R"({"name": "Lac Léman", "type": {"water": 1}, "category": ["natural"], "lat": [46],
            "lon": "6.55", "address": {"road": 7, "city": "Lausanne", "country_code": null}})",
        "fr", error);
    ASSERT_FALSE(error);
    ASSERT_EQ(placemarks.size(), 1u);
    const Placemark& p = placemarks[0];
    EXPECT_EQ(p.name, "Lac Léman");
    EXPECT_EQ(p.inlandWater, std::nullopt);
    EXPECT_EQ(p.thoroughfare, std::nullopt);
    EXPECT_EQ(p.locality, "Lausanne");
    EXPECT_EQ(p.ISOcountryCode, std::nullopt);
    EXPECT_FALSE(p.location.has_value());
}

TEST_F(NominatimGeocoderTest, EachFailureComesBackAsAnError) {
    struct Row {
        const char* what;
        HttpTestServer::Reply reply;
        std::int64_t code;
        const char* description;
        const char* reason;  // a part of the failure reason
    };
    const std::vector<Row> rows = {
        {"the service's own error",
         {200, R"({"error":"Unable to geocode"})"},
         NominatimGeocoder::kServiceError,
         "The geocoding service found no address here",
         "Unable to geocode"},
        {"a server error",
         {500, "<html>Internal Server Error</html>"},
         500,
         "The geocoding service answered HTTP 500",
         "Internal Server Error"},
        {"garbage",
         {200, "<html>surprise</html>"},
         NominatimGeocoder::kBadAnswer,
         "The geocoding service's answer could not be read",
         "surprise"},
        {"JSON that is not an object",
         {200, "[1, 2]"},
         NominatimGeocoder::kBadAnswer,
         "The geocoding service's answer could not be read",
         "[1, 2]"},
        {"brackets deeper than any answer, inside the service's own error",
         {200, "{\"error\": " + std::string(200000, '[') + std::string(200000, ']') + "}"},
         NominatimGeocoder::kBadAnswer,
         "The geocoding service's answer could not be read",
         "nested more than 64 levels deep"},
        {"an answer past the timeout",
         {200, kParisStreet, true},
         NominatimGeocoder::kTimedOut,
         "The geocoding service did not answer within 0.3 seconds",
         "127.0.0.1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        HttpTestServer server([&row](const auto&) { return row.reply; });
        auto nominatim = geocoder(server.baseUrl(), "en", 0.3);
        Answer answer;
        nominatim->reverseGeocodeLocation(at(1, 2), answer.completion());
        ASSERT_TRUE(answer.wait());
        EXPECT_TRUE(answer.placemarks.empty());
        ASSERT_TRUE(answer.error.has_value());
        EXPECT_EQ(answer.error->domain, NominatimGeocoder::kErrorDomain);
        EXPECT_EQ(answer.error->code, row.code);
        EXPECT_EQ(answer.error->description, row.description);
        EXPECT_NE(answer.error->failureReason.find(row.reason), std::string::npos)
            << answer.error->failureReason;
        server.release();
    }
}

TEST_F(NominatimGeocoderTest, AnUnreachableServiceAndAnEmptyURLAreErrors) {
    std::string closedUrl;
    {
        HttpTestServer gone([](const auto&) { return HttpTestServer::Reply{}; });
        closedUrl = gone.baseUrl();
    }
    auto unreachable = geocoder(closedUrl);
    Answer refused;
    unreachable->reverseGeocodeLocation(at(1, 2), refused.completion());
    ASSERT_TRUE(refused.wait());
    ASSERT_TRUE(refused.error.has_value());
    EXPECT_EQ(refused.error->code, NominatimGeocoder::kTransferFailed);
    EXPECT_FALSE(refused.error->failureReason.empty());

    auto off = geocoder("");
    Answer notConfigured;
    off->reverseGeocodeLocation(at(1, 2), notConfigured.completion());
    ASSERT_TRUE(notConfigured.wait());
    ASSERT_TRUE(notConfigured.error.has_value());
    EXPECT_EQ(notConfigured.error->code, NominatimGeocoder::kNotConfigured);
}

TEST_F(NominatimGeocoderTest, ASecondRequestWhileOneIsUnderWayIsRefusedAtOnce) {
    HttpTestServer server([](const auto&) {
        return HttpTestServer::Reply{200, kParisStreet, true};
    });
    auto nominatim = geocoder(server.baseUrl());
    Answer first;
    nominatim->reverseGeocodeLocation(at(48.85826, 2.2945), first.completion());
    ASSERT_TRUE(server.waitForRequests(1));

    Answer second;
    nominatim->reverseGeocodeLocation(at(48.86, 2.29), second.completion());
    ASSERT_TRUE(second.wait());  // while the first is still held by the server
    ASSERT_TRUE(second.error.has_value());
    EXPECT_EQ(second.error->code, NominatimGeocoder::kBusy);
    EXPECT_FALSE(first.hasArrived());

    server.release();
    ASSERT_TRUE(first.wait());
    EXPECT_FALSE(first.error);
    EXPECT_EQ(first.placemarks.size(), 1u);
    EXPECT_EQ(server.requests().size(), 1u);  // the refused one never went out

    Answer third;  // free again once the first has ended
    nominatim->reverseGeocodeLocation(at(48.86, 2.29), third.completion());
    ASSERT_TRUE(third.wait());
    EXPECT_FALSE(third.error);
    EXPECT_EQ(server.requests().size(), 2u);
}

TEST_F(NominatimGeocoderTest, DestroyingTheGeocoderAbandonsTheRequestUnderWay) {
    HttpTestServer server([](const auto&) {
        return HttpTestServer::Reply{200, kParisStreet, true};
    });
    Answer answer;
    {
        auto nominatim = geocoder(server.baseUrl(), "fr", 60);
        nominatim->reverseGeocodeLocation(at(48.85826, 2.2945), answer.completion());
        ASSERT_TRUE(server.waitForRequests(1));
    }  // returns well before the 60-second timeout, the transfer cancelled
    _queue->sync([] {});
    EXPECT_FALSE(answer.hasArrived());
}

}  // namespace
}  // namespace orvane::platform
