// NMEA lines into sentences, and sentences into one fix per epoch.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "platform/location/nmea.h"

namespace orvane::platform::nmea {
namespace {

// "$BODY*hh" with the checksum the body needs.
std::string line(const std::string& body) {
    unsigned sum = 0;
    for (char c : body)
        sum ^= static_cast<unsigned char>(c);
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X", sum);
    return "$" + body + tail;
}

TEST(NmeaChecksum, KnownSentencesFromReceiverManuals) {
    EXPECT_TRUE(
        checksumMatches("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n"));
    EXPECT_TRUE(
        checksumMatches("$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A"));
    EXPECT_TRUE(
        checksumMatches("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47"
                        "\n"));
    EXPECT_FALSE(
        checksumMatches("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*48"));
    EXPECT_FALSE(checksumMatches("$GPGGA,123519,4807.038,N*4"));
    EXPECT_FALSE(checksumMatches("$GPGGA,123519,4807.038,N"));
}

struct LineCase {
    const char* name;
    std::string text;
    LineStatus status;
};

TEST(NmeaParse, StatusOfEachKindOfLine) {
    const LineCase cases[] = {
        {"good GGA", line("GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
         LineStatus::Parsed},
        {"multi-system RMC", line("GNRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,,,A"),
         LineStatus::Parsed},
        {"GLONASS VTG", line("GLVTG,054.7,T,034.4,M,005.5,N,010.2,K"), LineStatus::Parsed},
        {"Galileo GSA", line("GAGSA,A,3,04,05,,09,12,,,24,,,,,2.5,1.3,2.1"), LineStatus::Parsed},
        {"BeiDou GST", line("BDGST,172814.0,0.006,0.023,0.020,273.6,0.023,0.020,0.031"),
         LineStatus::Parsed},
        {"BeiDou GB talker", line("GBGSA,A,3,01,02,,,,,,,,,,,1.8,1.0,1.5"), LineStatus::Parsed},
        {"satellites in view",
         line("GPGSV,3,1,11,03,03,111,00,04,15,270,00,06,01,010,00,13,06,"
              "292,00"),
         LineStatus::Ignored},
        {"proprietary", line("PUBX,00,081350.00,4717.113210,N"), LineStatus::Ignored},
        {"unknown talker", line("IIGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
         LineStatus::Ignored},
        {"bad checksum", "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*46",
         LineStatus::BadChecksum},
        {"no checksum", "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,",
         LineStatus::Malformed},
        {"truncated", line("GPGGA,123519,4807.038,N,01131.000"), LineStatus::Malformed},
        {"cut mid-line", "$GPGGA,123519,4807.0", LineStatus::Malformed},
        {"empty", "", LineStatus::Malformed},
        {"no dollar", "GPGGA,123519*47", LineStatus::Malformed},
        {"letters in latitude", line("GPGGA,123519,48O7.038,N,01131.000,E,1,08,0.9,545.4,M,,M,,"),
         LineStatus::Malformed},
        {"sixty minutes", line("GPGGA,123519,4860.000,N,01131.000,E,1,08,0.9,545.4,M,,M,,"),
         LineStatus::Malformed},
        {"hemisphere X", line("GPGGA,123519,4807.038,X,01131.000,E,1,08,0.9,545.4,M,,M,,"),
         LineStatus::Malformed},
        {"hour 25", line("GPRMC,253519,A,4807.038,N,01131.000,E,022.4,084.4,230394,,"),
         LineStatus::Malformed},
        {"month 13", line("GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,231394,,"),
         LineStatus::Malformed},
        {"status Q", line("GPRMC,123519,Q,4807.038,N,01131.000,E,022.4,084.4,230394,,"),
         LineStatus::Malformed},
        {"infinite altitude", line("GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,inf,M,,M,,"),
         LineStatus::Malformed},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(parseLine(c.text).status, c.status) << c.name << ": " << c.text;
    }
}

TEST(NmeaParse, GgaFieldsAndHemispheres) {
    const auto north =
        parseLine("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47");
    ASSERT_TRUE(north.sentence);
    const auto& gga = std::get<Gga>(*north.sentence);
    EXPECT_DOUBLE_EQ(*gga.secondsOfDay, 12 * 3600 + 35 * 60 + 19);
    EXPECT_NEAR(gga.position->latitude, 48 + 7.038 / 60, 1e-12);
    EXPECT_NEAR(gga.position->longitude, 11 + 31.0 / 60, 1e-12);
    EXPECT_EQ(gga.quality, 1);
    EXPECT_EQ(*gga.satellites, 8);
    EXPECT_DOUBLE_EQ(*gga.hdop, 0.9);
    EXPECT_DOUBLE_EQ(*gga.altitude, 545.4);

    const auto south =
        parseLine(line("GNGGA,000001.50,3351.123,S,15112.500,W,2,12,1.1,-12.5,M,,M,,"));
    ASSERT_TRUE(south.sentence);
    const auto& sw = std::get<Gga>(*south.sentence);
    EXPECT_DOUBLE_EQ(*sw.secondsOfDay, 1.5);
    EXPECT_NEAR(sw.position->latitude, -(33 + 51.123 / 60), 1e-12);
    EXPECT_NEAR(sw.position->longitude, -(151 + 12.5 / 60), 1e-12);
    EXPECT_DOUBLE_EQ(*sw.altitude, -12.5);
}

TEST(NmeaParse, EmptyFieldsAreAbsentNotZero) {
    const auto parsed = parseLine(line("GPGGA,123520,,,,,0,00,,,M,,M,,"));
    ASSERT_TRUE(parsed.sentence);
    const auto& gga = std::get<Gga>(*parsed.sentence);
    EXPECT_FALSE(gga.position);
    EXPECT_EQ(gga.quality, 0);
    EXPECT_FALSE(gga.hdop);
    EXPECT_FALSE(gga.altitude);

    const auto rmc = parseLine(line("GPRMC,123520,V,,,,,,,230394,,"));
    ASSERT_TRUE(rmc.sentence);
    EXPECT_FALSE(std::get<Rmc>(*rmc.sentence).valid);
    EXPECT_FALSE(std::get<Rmc>(*rmc.sentence).speed);
}

TEST(NmeaParse, SpeedsInMetresPerSecond) {
    const auto rmc =
        parseLine("$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A");
    ASSERT_TRUE(rmc.sentence);
    const auto& r = std::get<Rmc>(*rmc.sentence);
    EXPECT_NEAR(*r.speed, 22.4 * 1852 / 3600, 1e-9);
    EXPECT_EQ(*r.daysSince1970, 8847);  // 1994-03-23
    const auto vtg = parseLine(line("GPVTG,054.7,T,034.4,M,005.5,N,010.2,K"));
    EXPECT_NEAR(*std::get<Vtg>(*vtg.sentence).speed, 10.2 / 3.6, 1e-12);
    const auto knotsOnly = parseLine(line("GPVTG,054.7,T,034.4,M,005.5,N,,K"));
    EXPECT_NEAR(*std::get<Vtg>(*knotsOnly.sentence).speed, 5.5 * 1852 / 3600, 1e-12);
}

class AssemblerTest : public ::testing::Test {
  protected:
    std::vector<Location> fixes;
    // The wall clock says 2024-05-01 12:00 UTC.
    Assembler assembler{[this](const Location& fix) { fixes.push_back(fix); },
                        [] { return 1714564800.0; }};
    void feed(const std::vector<std::string>& lines) {
        for (const auto& l : lines)
            assembler.addLine(l);
    }
};

// A receiver that sends RMC, VTG, GGA, GSA and GST once a second, with a GSV between.
TEST_F(AssemblerTest, OneFixPerEpochFromAReceiverLog) {
    feed({
        line("GNRMC,101500.00,A,5122.8520,N,00221.5200,W,10.00,90.0,010524,,,A"),
        line("GNVTG,90.0,T,,M,10.00,N,18.52,K,A"),
        line("GNGGA,101500.00,5122.8520,N,00221.5200,W,1,09,1.2,23.4,M,48.0,M,,"),
        line("GNGSA,A,3,01,02,03,,,,,,,,,,2.0,1.2,1.6"),
        line("GPGSV,1,1,03,01,40,083,46,02,17,308,41,03,07,344,39"),
        line("GNGST,101500.00,1.5,3.0,4.0,0.0,3.0,4.0,6.0"),
        line("GNRMC,101501.00,A,5122.8530,N,00221.5100,W,10.50,90.0,010524,,,A"),
        line("GNVTG,90.0,T,,M,10.50,N,19.45,K,A"),
        line("GNGGA,101501.00,5122.8530,N,00221.5100,W,1,09,1.4,23.9,M,48.0,M,,"),
        line("GNGSA,A,3,01,02,03,,,,,,,,,,2.0,1.4,1.6"),
        line("GNGST,101501.00,1.5,3.0,4.0,0.0,6.0,8.0,6.0"),
        line("GNRMC,101502.00,A,5122.8540,N,00221.5000,W,11.00,90.0,010524,,,A"),
        line("GNVTG,90.0,T,,M,11.00,N,20.37,K,A"),
        line("GNGGA,101502.00,5122.8540,N,00221.5000,W,1,09,1.0,24.1,M,48.0,M,,"),
        line("GNGSA,A,3,01,02,03,,,,,,,,,,2.0,1.0,1.6"),
    });
    // The third epoch is complete without its GST only once the receiver's set is known from
    // the second; before that it waits for a later time or the end.
    ASSERT_EQ(fixes.size(), 2u);
    assembler.flush();
    ASSERT_EQ(fixes.size(), 3u);
    const Location& first = fixes[0];
    EXPECT_NEAR(first.coordinate().latitude, 51 + 22.852 / 60, 1e-9);
    EXPECT_NEAR(first.coordinate().longitude, -(2 + 21.52 / 60), 1e-9);
    EXPECT_DOUBLE_EQ(*first.altitude(), 23.4);
    EXPECT_NEAR(first.speed(), 10.0 * 1852 / 3600, 1e-9);
    EXPECT_DOUBLE_EQ(first.horizontalAccuracy(), 5.0);  // GST sigmas 3 and 4
    EXPECT_DOUBLE_EQ(first.timestamp(), 1714558500.0);  // 2024-05-01 10:15:00 UTC
    EXPECT_DOUBLE_EQ(fixes[1].horizontalAccuracy(), 10.0);
    EXPECT_DOUBLE_EQ(fixes[1].timestamp(), 1714558501.0);
    EXPECT_DOUBLE_EQ(fixes[2].horizontalAccuracy(), 5.0);  // no GST: HDOP 1.0 x 5 m
    EXPECT_EQ(assembler.failedLines(), 0u);
}

TEST_F(AssemblerTest, ALearntEpochIsDeliveredWithoutWaitingForTheNext) {
    for (int second = 0; second < 4; ++second) {
        const std::string t = "12000" + std::to_string(second) + ".00";
        feed({line("GPGGA," + t + ",4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
              line("GPRMC," + t + ",A,4807.038,N,01131.000,E,0.0,0.0,010524,,")});
    }
    // Epoch 0 closes at 1, 1 at 2 (which teaches GGA+RMC); 2 and 3 are then complete at once.
    EXPECT_EQ(fixes.size(), 4u);
}

TEST_F(AssemblerTest, NoFixWithoutQualityOrValidity) {
    feed({line("GPGGA,120000,4807.038,N,01131.000,E,0,00,,,M,,M,,"),
          line("GPRMC,120001,V,4807.038,N,01131.000,E,,,010524,,"),
          line("GPGGA,120002,,,,,1,00,,,M,,M,,")});
    assembler.flush();
    EXPECT_TRUE(fixes.empty());
}

TEST_F(AssemblerTest, BrokenLinesAreCountedAndSkipped) {
    feed({line("GPGGA,120000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
          "$GPGGA,120001,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*00", "$GPGGA,1200",
          "garbage", line("GPGSV,1,1,00"),
          line("GPGGA,120002,4807.040,N,01131.000,E,1,08,2.0,545.4,M,46.9,M,,")});
    assembler.flush();
    EXPECT_EQ(assembler.failedLines(), 3u);
    ASSERT_EQ(fixes.size(), 2u);
    // GGA only: no speed, and the date from the wall clock.
    EXPECT_DOUBLE_EQ(fixes[0].speed(), -1);
    EXPECT_DOUBLE_EQ(fixes[0].timestamp(), 1714564800.0);
    EXPECT_DOUBLE_EQ(fixes[1].horizontalAccuracy(), 10.0);
}

TEST_F(AssemblerTest, MidnightWithoutADateMovesToTheNextDay) {
    feed({line("GPGGA,235959,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
          line("GPGGA,000000,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,")});
    assembler.flush();
    ASSERT_EQ(fixes.size(), 2u);
    EXPECT_DOUBLE_EQ(fixes[1].timestamp() - fixes[0].timestamp(), 1.0);
}

}  // namespace
}  // namespace orvane::platform::nmea
