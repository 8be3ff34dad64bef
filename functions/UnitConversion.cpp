// CONVERT(number, from_unit, to_unit): measurements between units of one
// quantity. Unit names are case-sensitive. Metric units take the decimal
// prefixes (Y … y, "da"/"e" for deka, "u" for micro) and information units
// also the binary ones (ki, Mi, … Yi); a prefix on a squared or cubed unit
// is squared or cubed with it (km2 is 10^6 m2). Unknown units and units of
// different quantities are "#N/A". Temperatures convert through kelvin with
// their offsets; every other unit is a factor to its quantity's base unit.
#include <cmath>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>

#include "engine/FunctionContext.h"
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"

namespace sumora {

namespace {

enum class Quantity {
    mass,
    distance,
    time,
    pressure,
    force,
    energy,
    power,
    magnetism,
    temperature,
    volume,
    area,
    information,
    speed
};

struct Unit {
    std::string_view name;
    Quantity quantity;
    double factor;   // base units per unit (for temperatures, kelvin per degree)
    bool prefixable; // takes the decimal prefixes
    int power = 1;   // 2 for areas and 3 for volumes written with a length
};

constexpr double kInch = 0.0254, kFoot = 0.3048, kYard = 0.9144, kMile = 1609.344, kNauticalMile = 1852;
constexpr double kLightYear = 9460730472580800.0, kAngstrom = 1e-10, kPica = kInch / 72;
constexpr double kParsec = 3.0856775814913673e16, kHorsepower = 745.69987158227022;
constexpr double kUsGallon = 3.785411784e-3, kUkGallon = 4.54609e-3;

using Q = Quantity;
// clang-format off
constexpr Unit kUnits[] = {
    // Mass, in grams.
    {"g", Q::mass, 1, true}, {"sg", Q::mass, 14593.902937206364, false}, {"lbm", Q::mass, 453.59237, false},
    {"u", Q::mass, 1.66053906660e-24, true}, {"ozm", Q::mass, 28.349523125, false}, {"grain", Q::mass, 0.06479891, false},
    {"cwt", Q::mass, 45359.237, false}, {"shweight", Q::mass, 45359.237, false},
    {"uk_cwt", Q::mass, 50802.34544, false}, {"lcwt", Q::mass, 50802.34544, false}, {"hweight", Q::mass, 50802.34544, false},
    {"stone", Q::mass, 6350.29318, false}, {"ton", Q::mass, 907184.74, false},
    {"uk_ton", Q::mass, 1016046.9088, false}, {"LTON", Q::mass, 1016046.9088, false}, {"brton", Q::mass, 1016046.9088, false},
    // Distance, in metres.
    {"m", Q::distance, 1, true}, {"mi", Q::distance, kMile, false}, {"Nmi", Q::distance, kNauticalMile, false},
    {"in", Q::distance, kInch, false}, {"ft", Q::distance, kFoot, false}, {"yd", Q::distance, kYard, false},
    {"ang", Q::distance, kAngstrom, true}, {"ell", Q::distance, 1.143, false}, {"ly", Q::distance, kLightYear, true},
    {"parsec", Q::distance, kParsec, true}, {"pc", Q::distance, kParsec, true},
    {"Picapt", Q::distance, kPica, false}, {"Pica", Q::distance, kPica, false}, {"pica", Q::distance, kInch / 6, false},
    {"survey_mi", Q::distance, 6336000.0 / 3937, false},
    // Time, in seconds.
    {"yr", Q::time, 31557600, false}, {"day", Q::time, 86400, false}, {"d", Q::time, 86400, false},
    {"hr", Q::time, 3600, false}, {"mn", Q::time, 60, false}, {"min", Q::time, 60, false},
    {"sec", Q::time, 1, true}, {"s", Q::time, 1, true},
    // Pressure, in pascals.
    {"Pa", Q::pressure, 1, true}, {"p", Q::pressure, 1, true}, {"atm", Q::pressure, 101325, true}, {"at", Q::pressure, 101325, true},
    {"mmHg", Q::pressure, 133.322387415, true}, {"psi", Q::pressure, 6894.757293168361, false}, {"Torr", Q::pressure, 101325.0 / 760, false},
    // Force, in newtons.
    {"N", Q::force, 1, true}, {"dyn", Q::force, 1e-5, true}, {"dy", Q::force, 1e-5, true},
    {"lbf", Q::force, 4.4482216152605, false}, {"pond", Q::force, 9.80665e-3, true},
    // Energy, in joules.
    {"J", Q::energy, 1, true}, {"e", Q::energy, 1e-7, true}, {"c", Q::energy, 4.184, true}, {"cal", Q::energy, 4.1868, true},
    {"eV", Q::energy, 1.602176634e-19, true}, {"ev", Q::energy, 1.602176634e-19, true},
    {"HPh", Q::energy, kHorsepower * 3600, false}, {"hh", Q::energy, kHorsepower * 3600, false},
    {"Wh", Q::energy, 3600, true}, {"wh", Q::energy, 3600, true}, {"flb", Q::energy, 4.4482216152605 * kFoot, false},
    {"BTU", Q::energy, 1055.05585262, false}, {"btu", Q::energy, 1055.05585262, false},
    // Power, in watts.
    {"HP", Q::power, kHorsepower, false}, {"h", Q::power, kHorsepower, false}, {"PS", Q::power, 735.49875, false},
    {"W", Q::power, 1, true}, {"w", Q::power, 1, true},
    // Magnetism, in teslas.
    {"T", Q::magnetism, 1, true}, {"ga", Q::magnetism, 1e-4, true},
    // Temperature: the factor is the size of a degree in kelvin.
    {"C", Q::temperature, 1, false}, {"cel", Q::temperature, 1, false}, {"F", Q::temperature, 5.0 / 9, false},
    {"fah", Q::temperature, 5.0 / 9, false}, {"K", Q::temperature, 1, true}, {"kel", Q::temperature, 1, true},
    {"Rank", Q::temperature, 5.0 / 9, false}, {"Reau", Q::temperature, 1.25, false},
    // Volume, in cubic metres.
    {"tsp", Q::volume, kUsGallon / 768, false}, {"tspm", Q::volume, 5e-6, false}, {"tbs", Q::volume, kUsGallon / 256, false},
    {"oz", Q::volume, kUsGallon / 128, false}, {"cup", Q::volume, kUsGallon / 16, false},
    {"pt", Q::volume, kUsGallon / 8, false}, {"us_pt", Q::volume, kUsGallon / 8, false}, {"uk_pt", Q::volume, kUkGallon / 8, false},
    {"qt", Q::volume, kUsGallon / 4, false}, {"uk_qt", Q::volume, kUkGallon / 4, false},
    {"gal", Q::volume, kUsGallon, false}, {"uk_gal", Q::volume, kUkGallon, false},
    {"l", Q::volume, 1e-3, true}, {"L", Q::volume, 1e-3, true}, {"lt", Q::volume, 1e-3, true},
    {"ang3", Q::volume, 1e-30, true, 3}, {"ang^3", Q::volume, 1e-30, true, 3},
    {"barrel", Q::volume, kUsGallon * 42, false}, {"bushel", Q::volume, 0.03523907016688, false},
    {"ft3", Q::volume, kFoot * kFoot * kFoot, false}, {"ft^3", Q::volume, kFoot * kFoot * kFoot, false},
    {"in3", Q::volume, kInch * kInch * kInch, false}, {"in^3", Q::volume, kInch * kInch * kInch, false},
    {"ly3", Q::volume, kLightYear * kLightYear * kLightYear, false}, {"ly^3", Q::volume, kLightYear * kLightYear * kLightYear, false},
    {"m3", Q::volume, 1, true, 3}, {"m^3", Q::volume, 1, true, 3},
    {"mi3", Q::volume, kMile * kMile * kMile, false}, {"mi^3", Q::volume, kMile * kMile * kMile, false},
    {"yd3", Q::volume, kYard * kYard * kYard, false}, {"yd^3", Q::volume, kYard * kYard * kYard, false},
    {"Nmi3", Q::volume, kNauticalMile * kNauticalMile * kNauticalMile, false}, {"Nmi^3", Q::volume, kNauticalMile * kNauticalMile * kNauticalMile, false},
    {"Pica3", Q::volume, kPica * kPica * kPica, false}, {"Pica^3", Q::volume, kPica * kPica * kPica, false},
    {"Picapt3", Q::volume, kPica * kPica * kPica, false}, {"Picapt^3", Q::volume, kPica * kPica * kPica, false},
    {"GRT", Q::volume, 2.8316846592, false}, {"regton", Q::volume, 2.8316846592, false}, {"MTON", Q::volume, 1.13267386368, false},
    // Area, in square metres.
    {"uk_acre", Q::area, 4046.8564224, false}, {"us_acre", Q::area, 4046.8726098742513, false},
    {"ang2", Q::area, 1e-20, true, 2}, {"ang^2", Q::area, 1e-20, true, 2}, {"ar", Q::area, 100, true},
    {"ft2", Q::area, kFoot * kFoot, false}, {"ft^2", Q::area, kFoot * kFoot, false}, {"ha", Q::area, 10000, false},
    {"in2", Q::area, kInch * kInch, false}, {"in^2", Q::area, kInch * kInch, false},
    {"ly2", Q::area, kLightYear * kLightYear, false}, {"ly^2", Q::area, kLightYear * kLightYear, false},
    {"m2", Q::area, 1, true, 2}, {"m^2", Q::area, 1, true, 2}, {"Morgen", Q::area, 2500, false},
    {"mi2", Q::area, kMile * kMile, false}, {"mi^2", Q::area, kMile * kMile, false},
    {"Nmi2", Q::area, kNauticalMile * kNauticalMile, false}, {"Nmi^2", Q::area, kNauticalMile * kNauticalMile, false},
    {"Pica2", Q::area, kPica * kPica, false}, {"Pica^2", Q::area, kPica * kPica, false},
    {"Picapt2", Q::area, kPica * kPica, false}, {"Picapt^2", Q::area, kPica * kPica, false},
    {"yd2", Q::area, kYard * kYard, false}, {"yd^2", Q::area, kYard * kYard, false},
    // Information, in bits.
    {"bit", Q::information, 1, true}, {"byte", Q::information, 8, true},
    // Speed, in metres per second.
    {"admkn", Q::speed, 6080 * kFoot / 3600, false}, {"kn", Q::speed, kNauticalMile / 3600, false},
    {"m/h", Q::speed, 1.0 / 3600, true}, {"m/hr", Q::speed, 1.0 / 3600, true},
    {"m/s", Q::speed, 1, true}, {"m/sec", Q::speed, 1, true}, {"mph", Q::speed, kMile / 3600, false},
};
// clang-format on

struct Prefix {
    std::string_view text;
    double factor;
    bool binary;
};

// Two-letter prefixes first, so that "da" and "ki" win over "d" and "k".
constexpr Prefix kPrefixes[] = {
    {"da", 1e1, false},   {"ki", 0x1p10, true}, {"Mi", 0x1p20, true}, {"Gi", 0x1p30, true},
    {"Ti", 0x1p40, true}, {"Pi", 0x1p50, true}, {"Ei", 0x1p60, true}, {"Zi", 0x1p70, true},
    {"Yi", 0x1p80, true}, {"Y", 1e24, false},   {"Z", 1e21, false},   {"E", 1e18, false},
    {"P", 1e15, false},   {"T", 1e12, false},   {"G", 1e9, false},    {"M", 1e6, false},
    {"k", 1e3, false},    {"h", 1e2, false},    {"e", 1e1, false},    {"d", 1e-1, false},
    {"c", 1e-2, false},   {"m", 1e-3, false},   {"u", 1e-6, false},   {"n", 1e-9, false},
    {"p", 1e-12, false},  {"f", 1e-15, false},  {"a", 1e-18, false},  {"z", 1e-21, false},
    {"y", 1e-24, false},
};

const Unit* findUnit(std::string_view name) {
    for (const Unit& unit : kUnits)
        if (unit.name == name) return &unit;
    return nullptr;
}

struct ResolvedUnit {
    Quantity quantity;
    double factor; // base units per unit, prefix included
    std::string_view name;
};

// A unit name as written: a unit of the table, or a prefix and a unit that
// takes it. The unprefixed reading wins ("mi" is a mile, "Pa" a pascal).
std::optional<ResolvedUnit> resolveUnit(std::string_view text) {
    if (const Unit* unit = findUnit(text)) return ResolvedUnit{unit->quantity, unit->factor, unit->name};
    for (const Prefix& prefix : kPrefixes) {
        if (!text.starts_with(prefix.text)) continue;
        const Unit* unit = findUnit(text.substr(prefix.text.size()));
        if (!unit || !unit->prefixable) continue;
        if (prefix.binary && unit->quantity != Quantity::information) continue;
        return ResolvedUnit{unit->quantity, unit->factor * std::pow(prefix.factor, unit->power), unit->name};
    }
    return std::nullopt;
}

// Kelvin above the scale's zero point for the temperature units.
double kelvinOffset(std::string_view name) {
    if (name == "C" || name == "cel") return 273.15;
    if (name == "F" || name == "fah") return 273.15 - 32 * 5.0 / 9;
    if (name == "Reau") return 273.15;
    return 0; // K, kel, Rank
}

// CONVERT(number, from_unit, to_unit) — number in from_unit measured in to_unit
FormulaValue convert(FunctionContext& c) {
    auto x = declaredNumber(c, 0);
    if (!x) return x.failure;
    auto fromText = textArg(c, 1);
    if (!fromText) return fromText.failure;
    auto toText = textArg(c, 2);
    if (!toText) return toText.failure;
    const auto from = resolveUnit(*fromText);
    const auto to = resolveUnit(*toText);
    if (!from || !to || from->quantity != to->quantity) return err(ErrorKind::notAvailable);
    if (from->quantity == Quantity::temperature) {
        const double kelvin = *x * from->factor + kelvinOffset(from->name);
        return finiteOrNumError((kelvin - kelvinOffset(to->name)) / to->factor + 0.0);
    }
    if (from->factor == to->factor) return finiteOrNumError(*x);
    return finiteOrNumError(*x * from->factor / to->factor);
}

using namespace declare;

constexpr FunctionDeclaration kUnitConversionFunctions[] = {
    {"CONVERT", convert, exactly(3), numberArgRule, none, "CONVERT(number, from_unit, to_unit)",
     "Converts a number from one measurement unit to another."},
};

} // namespace

void registerUnitConversionFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::math, kUnitConversionFunctions);
}

} // namespace sumora
