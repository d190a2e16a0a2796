#include "study/generate/lot_files.hpp"

#include <chrono>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "study/base/portable_math.hpp"
#include "study/base/text_file.hpp"

namespace qmx_study {

namespace {

// Times as rollers write them, from the start of work on: 2025/Oct/01 07:00:00.000
class clock_text {
public:
    std::string_view at(double seconds) {
        const std::int64_t tenths = std::llround(seconds * 10);
        if (tenths / 10 != second_) {
            second_ = tenths / 10;
            set_second();
        }
        text_[21] = static_cast<char>('0' + tenths % 10);
        return text_;
    }

private:
    void set_second() {
        using namespace std::chrono;
        static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
        const sys_seconds now = sys_days{October / 1 / 2025} + 7h + seconds{second_};
        const year_month_day day{floor<days>(now)};
        const hh_mm_ss time{now - floor<days>(now)};
        text_ = fmt::format("{}/{}/{:02} {:02}:{:02}:{:02}.000", static_cast<int>(day.year()),
                            months[static_cast<unsigned>(day.month()) - 1],
                            static_cast<unsigned>(day.day()), time.hours().count(),
                            time.minutes().count(), time.seconds().count());
    }

    std::int64_t second_ = -1;
    std::string text_;
};

constexpr double shifted_easting = -90000; // how far off a damaged easting lies, m

void write_record(text_file& file, const lot_record& record, const lot_cell& cell,
                  const lot_settings& settings, const portable::random_stream& readings,
                  clock_text& clock) {
    const bool shifted = record.what_happened == damage::shifted_fields;
    // small departures of the other readings: four numbers from 0 to 1 out of one
    const std::uint64_t bits = readings.bits(std::uint64_t{record.cell} << 16 | record.pass);
    const auto part = [bits](int which) {
        return static_cast<double>(bits >> 16 * which & 0xffff) / 65536;
    };
    file.text(clock.at(record.seconds)).text(",");
    file.fixed(cell.northing, 3).text(",");
    file.fixed(cell.easting + (shifted ? shifted_easting : 0), 3);
    file.text(record.what_happened == damage::unit_in_number ? "m," : ",");
    if (!shifted) file.fixed(cell.elevation, 3).text(",");
    file.fixed(record.pass, 0).text(",Roller-1,");
    file.fixed(2.7 + 0.4 * part(0), 1).text("km/h,");
    file.fixed(settings.passes, 0).text(",");
    switch (record.what_happened) {
    case damage::missing_value: file.text("?"); break;
    case damage::text_in_number: file.text("overrange"); break;
    default: file.fixed(record.value, 2); break;
    }
    file.text(",").fixed(2 + 2 * part(1), 1).text(",");
    file.fixed(27 + 2 * part(2), 1).text("Hz,");
    file.fixed(0.85 + 0.2 * part(3), 2).text("mm,");
    file.text(record.reverse ? "Reverse,On" : "Forward,On");
    file.text(shifted ? ",\r\n" : "\r\n");
}

} // namespace

std::int64_t damage_account::sound_rows() const {
    return rows[static_cast<std::size_t>(damage::none)] +
           rows[static_cast<std::size_t>(damage::unit_in_number)];
}

damage_account write_records(const generated_lot& made, const lot_settings& settings,
                             const std::string& name, progress& shown) {
    constexpr std::uint64_t machine_readings = 1000; // a stream that the lot itself does not use
    const portable::random_stream readings(settings.seed, machine_readings);
    clock_text clock;
    damage_account account;
    text_file file(name);
    file.text("Time,CellN_m,CellE_m,Elevation_m,PassCount,Machine,Speed,TargPassCount,LastCMV,"
              "LastRMV,LastFreq,LastAmp,MachineGear,VibeState\r\n");
    std::int64_t line = 1;
    for (const lot_record& record : made.records) {
        if (++line % 65536 == 0)
            shown.note("writing rows", static_cast<double>(line),
                       static_cast<double>(made.records.size()));
        const auto kind = static_cast<std::size_t>(record.what_happened);
        if (account.rows[kind]++ == 0) account.first_line[kind] = line;
        write_record(file, record, made.cells[record.cell], settings, readings, clock);
    }
    file.close();
    shown.clear();
    return account;
}

void write_spots(const generated_lot& made, const std::string& name) {
    text_file file(name);
    file.text("Spot,Easting_m,Northing_m,PassCount,Value_MPa\r\n");
    int number = 0;
    for (const lot_spot& spot : made.spots) {
        file.fixed(++number, 0).text(",").fixed(spot.easting, 3).text(",");
        file.fixed(spot.northing, 3).text(",").fixed(spot.pass, 0).text(",");
        file.fixed(spot.value, 2).text("\r\n");
    }
    file.close();
}

void write_alignment(const generated_lot& made, const std::string& name) {
    text_file file(name);
    file.text("Vertex,Easting_m,Northing_m\r\n");
    int number = 0;
    for (const lot_cell& corner : made.alignment) {
        file.fixed(++number, 0).text(",").fixed(corner.easting, 3).text(",");
        file.fixed(corner.northing, 3).text("\r\n");
    }
    file.close();
}

} // namespace qmx_study
