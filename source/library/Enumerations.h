#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Kvex::Lib {

/// The texts of a coded value: a dense range of integers from 0, whose last value "Unknown" stands for every code that
/// is not listed. The order is that of the wire, and a text may stand twice.
class Enumeration {
 public:
  Enumeration(const Enumeration&) = delete;
  Enumeration& operator=(const Enumeration&) = delete;

  /// The value named "Unknown".
  constexpr std::uint16_t last() const { return last_; }

  /// A raw code as a value of the enumeration: a code above the last value gives the last value. Takes raw fields of
  /// any width; a negative number is a large code.
  constexpr std::uint16_t clamped(std::uint64_t raw) const {
    return raw < last_ ? static_cast<std::uint16_t>(raw) : last_;
  }

  /// The text of a value, of static storage. A value outside the range, which `clamped` never gives, has none: a view
  /// of null.
  constexpr std::string_view name(std::uint64_t value) const {
    return value <= last_ ? texts_[value] : std::string_view{};
  }

  /// The text of a raw code.
  constexpr std::string_view nameOfRaw(std::uint64_t raw) const { return texts_[clamped(raw)]; }

 protected:
  constexpr Enumeration() = default;

  // The texts belong to the derived object.
  template <std::size_t Count>
  constexpr void setTexts(const std::array<std::string_view, Count>& texts) {
    static_assert(Count > 0 && Count <= UINT16_MAX);
    texts_ = texts.data();
    last_ = static_cast<std::uint16_t>(Count - 1);
  }

 private:
  const std::string_view* texts_ = nullptr;
  std::uint16_t last_ = 0;
};

/// An enumeration whose texts are listed. The last one must be "Unknown".
template <std::size_t Count>
class NameList : public Enumeration {
 public:
  template <class... Texts>
  explicit constexpr NameList(const Texts&... texts) : texts_{texts...} {
    setTexts(texts_);
    if (texts_.back() != "Unknown") throw "the last name is not \"Unknown\"";
  }

 private:
  std::array<std::string_view, Count> texts_;
};

template <class... Texts>
NameList(const Texts&...) -> NameList<sizeof...(Texts)>;

/// An enumeration whose texts are a stem and the value, "IMU model 7", but for some first ones that are listed and the
/// last, "Unknown".
template <std::size_t Count>
class NumberedNames : public Enumeration {
 public:
  template <class... FirstTexts>
  explicit constexpr NumberedNames(std::string_view stem, const FirstTexts&... firstTexts) : texts_{firstTexts...} {
    setTexts(texts_);
    for (std::size_t value = sizeof...(firstTexts); value + 1 < Count; ++value) {
      texts_[value] = compose(numbered_[value], stem, value);
    }
    texts_.back() = "Unknown";
  }

 private:
  using Text = std::array<char, 28>;

  static constexpr std::string_view compose(Text& text, std::string_view stem, std::size_t value) {
    std::size_t length = stem.copy(text.data(), stem.size());
    text[length++] = ' ';
    std::size_t scale = 1;
    while (value / scale >= 10) scale *= 10;
    for (; scale > 0; scale /= 10) text[length++] = static_cast<char>('0' + value / scale % 10);
    return {text.data(), length};
  }

  std::array<std::string_view, Count> texts_;
  std::array<Text, Count> numbered_{};
};

// The enumerations, each named after the code or the signal that carries it.

// clang-format off

// Of the store and its streams.

inline constexpr NameList kStreamCodecNames{
    "None", "RD", "CD", "Dask", "Quon", "Yeld", "Can", "Stub", "Hobe", "Wemp", "Binary", "Text", "Jorl", "Tarp", "Mirk",
    "Zint", "Gurn", "Unknown"};
inline constexpr NameList kValueTypeNames{
    "void", "bool", "char", "float", "double", "uint8_t", "uint16_t", "uint32_t", "uint64_t", "int8_t", "int16_t",
    "int32_t", "int64_t", "Unknown"};

// Receivers and their serial ports.

inline constexpr NameList kGpsTypeNames{
    "BeeLine", "OEM4", "None", "OEMV", "LEA4", "Generic", "Trimble 5700/5800", "Trimble AgGPS 132", "Topcon GB-500",
    "NavCom Sapphire", "LEA6", "Trimble BD920", "Leica GX1200", "Topcon B110", "OEM6", "Generic Survey Grade", "Locata",
    "LEA M8-T", "Novatel OEM7700", "Topcon B111", "Novatel OEM7720", "uBlox ZED-F9P", "Unknown"};
inline constexpr NameList kGpsFormatNames{
    "OEM3 Binary", "OEM4 Binary", "UBX", "NMEA", "GSOF", "TSIP", "GRIL", "Debug", "NCT Binary", "OWI", "Locata Binary",
    "Unknown"};
inline constexpr NameList kGpsRateNames{"Disabled", "1", "2", "4", "5", "10", "20", "Unknown"};
inline constexpr NameList kAntStatusNames{"OK", "Open", "Short", "Unknown"};
inline constexpr NameList kAntPowerNames{"On", "Off", "Unknown"};
inline constexpr NameList kPosModeNames{
    "None", "Search", "Doppler", "SPS", "Differential", "RTK Float", "RTK Integer", "WAAS", "Omnistar", "Omnistar HP",
    "No Data", "Blanked", "Doppler (PP)", "SPS (PP)", "Differential (PP)", "RTK Float (PP)", "RTK Integer (PP)",
    "Omnistar XP", "CDGPS", "Not Recognised", "hqDoppler", "hqSPS", "hqDifferential", "hqFloat", "hqInteger",
    "rqDoppler", "rqSPS", "rqDifferential", "rqFloat", "rqInteger", "PPP", "PPP", "hqSBAS", "rqSBAS", "Gen Aid",
    "Segment", "Unknown"};
inline constexpr NameList kSerBaudNames{
    "Disabled", "300", "600", "1200", "2400", "4800", "9600", "19200", "38400", "57600", "76800", "115200", "230400",
    "460800", "921600", "14400", "28800", "153600", "307200", "614400", "128000", "256000", "512000", "250000",
    "300000", "500000", "1500000", "2000000", "2500000", "750000", "1000000", "3000000", "1843200", "3686400",
    "Unknown"};
inline constexpr NameList kSerDataBitsNames{"8", "7", "6", "5", "Unknown"};
inline constexpr NameList kSerStopBitsNames{"1", "2", "1.5", "Unknown"};
inline constexpr NameList kSerParityNames{"None", "Odd", "Even", "Mark", "Space", "Unknown"};

// State of the unit and of its output.

inline constexpr NameList kOutputPacketTypeNames{
    "Invalid", "Empty", "Regular", "Status", "In 1 Down", "In 1 Up", "Out 1", "Interpolated", "In 2 Down", "In 2 Up",
    "Out 2", "Extra", "Unknown"};
inline constexpr NameList kInsNavModeNames{
    "Invalid", "Raw Inertial Data", "Ready to Initialise", "Locking On", "Real-Time", "Unlocked", "Reserved",
    "Reserved", "Reserved", "Reserved", "Status Only", "Extra", "Real-Time (Survey)", "Reserved", "Reserved",
    "Reserved", "Reserved", "Reserved", "Reserved", "Reserved", "Trigger (Initialise)", "Trigger (Locking On)",
    "Trigger (Real-Time)", "Unknown"};
inline constexpr NameList kGeneratorNames{
    "Invalid", "Real-Time", "Simulated", "Post-Process Forward", "Post-Process Backward", "Post-Process Combined",
    "Unknown"};
inline constexpr NameList kProvenanceNames{
    "UDP", "COM 1", "COM 2", "COM 3", "COM 4", "COM 5", "COM 6", "COM 7", "COM 8", "COM 9", "COM 10", "COM 11",
    "COM 12", "COM 13", "COM 14", "COM 15", "File", "Algorithmic", "Invalid", "Unknown"};
inline constexpr NameList kDualPortRamStatusNames{
    "Not Fitted", "Failed To Initialise", "Dead", "Down", "Overloaded", "Sporadic", "Slow", "Acceptable", "OK", "Good",
    "Excellent", "Unknown"};
inline constexpr NameList kProductTypeNames{"Default", "Survey", "OEM", "Unknown"};
inline constexpr NameList kProductGenerationNames{"None", "1", "2", "3", "4", "Unknown"};
inline constexpr NameList kUmacStatusNames{
    "Error", "Time Valid", "Speed Threshold", "Output Lag", "Aligning Axis", "Bad Position", "Poor Position",
    "SPS Position", "Differential Position", "RTK Position", "Unknown"};
inline constexpr NameList kDatumEllipsoidNames{"WGS84", "GRS80", "Unknown"};
inline constexpr NameList kDatumFrameNames{"ITRF2008", "ETRF2000(R08)", "NAD83(2011)", "Unknown"};
inline constexpr NameList kOutputDatumNames{"WGS84", "ITRF2008", "ETRF2000(R08)", "NAD83(2011)", "Unknown"};

// Differential corrections and dual antenna heading.

inline constexpr NameList kGpsDiffFormatNames{
    "None", "RTCMv3", "RTCA", "CMR", "RTCA2", "RTCMv2", "RTCMv3", "CMR+", "RTCMv3.2", "Unknown"};
inline constexpr NameList kGpsDiffTypeNames{
    "None", "Passthru GPS1", "Passthru GPS2", "Passthru EGPS", "RD", "LOG", "RINEX", "Unknown"};
inline constexpr NameList kGpsDiffNtripStatusNames{
    "Invalid", "Ready", "ResolveUrl", "GetSourceTable", "ParseSourceTable", "Authentication", "Running", "Close",
    "Closing", "Reconnecting", "Disabled", "ErrUndefined", "ErrBadAuth", "ErrTcpFailed", "ErrBadMountPoint",
    "ErrResolveUrl", "ErrAddress", "ErrPort", "Unknown"};
inline constexpr NameList kHeadQualityNames{"None", "Poor", "RTK Float", "RTK Integer", "Unknown"};
inline constexpr NameList kHeadSearchTypeNames{"Idle", "L1", "L2", "L1/L2", "Unknown"};
inline constexpr NameList kHeadSearchStatusNames{
    "OK", "No Spare CPU", "No Seed", "No Master", "No Slave1", "No Slave2", "No Slave3", "Bad Length",
    "No matching ambiguities", "Too many ambiguities", "Lost Master", "Lost Slave1", "Lost Slave2", "Lost Slave3",
    "Sat Constellation Too Poor", "Covariance Error", "Ambiguous Ambiguities", "Lost Lock", "Disabled", "Unknown"};
inline constexpr NameList kHeadSearchReadyNames{"Waiting", "Processing", "Unknown"};

// Options that were set.

inline constexpr NameList kOptionLevelNames{"Initially not level", "Initially level", "Attitude specified", "Unknown"};
inline constexpr NameList kOptionVibrationNames{"Normal", "High", "Very High", "Unknown"};
inline constexpr NameList kOptionGpsAccNames{"Some Obstructions", "Open Sky", "Frequent Obstructions", "Unknown"};
inline constexpr NameList kOptionUdpNames{
    "QUON", "PLOV", "ABD", "TSS1", "THALES", "NMEA", "SNEV", "DASK", "EM3000", "EM1000", "TSS HHRP", "PASHR", "PRDID",
    "ZOSTA1", "Javad I+RTK", "Unknown"};
inline constexpr NameList kOptionHeadingNames{"Never", "No Search", "After Init", "Always", "Unknown"};
inline constexpr NameList kOptionCanBaudNames{
    "Disabled", "100000", "125000", "200000", "250000", "500000", "1000000", "Unknown"};
inline constexpr NameList kHeaveModeNames{"AC Coupled", "DC Coupled", "Disabled", "Unknown"};
inline constexpr NameList kLinJerkFiltTypeNames{
    "Invalid", "Butterworth", "Unknown", "Unknown", "Unknown", "Unknown", "Unknown", "Unknown", "Unknown", "Unknown",
    "Unknown", "Unknown", "Unknown", "Unknown"};

// Time and radio.

inline constexpr NameList kPPSStatusNames{"Invalid", "Coarse", "Fine", "Unknown"};
inline constexpr NameList kPTPEpochNames{"GPS", "Unix", "PTP", "UTC", "Custom", "Unknown"};
inline constexpr NameList kPTPStatusNames{
    "Invalid", "Initialising", "Faulty", "Disabled", "Listening", "Pre-master", "Master", "Passive", "Uncalibrated",
    "Slave", "Locked", "ConfigError", "CriticalError", "Unknown"};
inline constexpr NameList kWiFiRegionNames{"Invalid", "EU", "USA", "China", "Australia", "Japan", "Unknown"};
inline constexpr NameList kWiFiAccessPointStatusNames{"Invalid", "Disabled", "Enabled", "Unsupported", "Unknown"};
inline constexpr NameList kWiFiConnectionStatusNames{
    "Invalid", "Disconnected", "Established", "Unsupported", "Unknown"};

// Targets of a range unit.

inline constexpr NameList kTargetModeNames{"Disabled", "Fixed Point", "Mobile Target", "Feature Point", "Unknown"};
inline constexpr NameList kStaticTargetTypeNames{"Invalid", "ParkingSpace", "Unknown"};
inline constexpr NameList kMeasPlaneNames{"Level Plane", "Hunter Plane", "Unknown"};

// Reference data of the device family: models, parts and builds, numbered by their values.

inline constexpr NumberedNames<22> kImuTypeNames{"IMU model"};
inline constexpr NumberedNames<21> kImuAccelTypeNames{"Accelerometer"};
inline constexpr NumberedNames<15> kImuGyroTypeNames{"Gyroscope"};
inline constexpr NumberedNames<11> kCpuPcbTypeNames{"Processor board"};
inline constexpr NumberedNames<31> kInterPcbTypeNames{"Interface board"};
inline constexpr NumberedNames<19> kFrontPcbTypeNames{"Front board"};
inline constexpr NumberedNames<24> kImuPcbTypeNames{"Inertial board"};
inline constexpr NumberedNames<32> kGpsPcbTypeNames{"Receiver board"};
inline constexpr NumberedNames<4> kFlexPcbTypeNames{"Flexible board"};
inline constexpr NumberedNames<9> kAdkPcbTypeNames{"Development board"};
inline constexpr NumberedNames<14> kInterSwIdNames{"Interface firmware"};
inline constexpr NumberedNames<17> kHwConfigNames{"Hardware configuration"};
inline constexpr NumberedNames<7> kImuHousingNames{"IMU housing"};
inline constexpr NumberedNames<14> kProductFamilyNames{"Product family", "None"};
inline constexpr NumberedNames<40> kProductGroupNames{"Product group", "None"};
inline constexpr NumberedNames<630> kProductModelNames{"Product model", "None", "Default"};

// clang-format on

/// What a device is sold as: values of `kProductModelNames`, `kProductFamilyNames` and `kProductGroupNames`.
struct ProductIdentity {
  std::uint16_t model = kProductModelNames.last();
  std::uint8_t family = static_cast<std::uint8_t>(kProductFamilyNames.last());
  std::uint8_t group = static_cast<std::uint8_t>(kProductGroupNames.last());

  constexpr bool operator==(const ProductIdentity&) const = default;
};

/// The identity of the device whose model text, in lower case, and generation these are; "Unknown" three times if the
/// reference data does not hold it.
ProductIdentity productIdentity(std::string_view modelText, std::uint32_t generation);

}  // namespace Kvex::Lib
