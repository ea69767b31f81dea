#include <algorithm>
#include <array>
#include <initializer_list>

#include "library/Angles.h"
#include "nav/ChannelRow.h"

namespace Kvex::Nav {

namespace {

using Lib::kDegreesPerRadian;

// The forms that channels are made of. A byte or word that holds nothing has all bits set, mostly.

constexpr Form kBit{.width = 1};
constexpr Form kNibble{.width = 4, .marker = Marker::Ones};
constexpr Form kByte{.width = 8};
constexpr Form kWord{.width = 16};
constexpr Form kSignedWord{.width = 16, .isSigned = true};
constexpr Form kLong{.width = 32};
constexpr Form kWhole{.width = 64};

constexpr Form kByteOrNone = kByte.marked(Marker::Ones);
constexpr Form kWordOrNone = kWord.marked(Marker::Ones);
constexpr Form kOption = kByte.marked(Marker::TopBit);
constexpr Form kSize{.width = 32, .isSigned = true, .marker = Marker::TopBit, .scale = 1024.0};
constexpr Form kCount8{.width = 8, .isCount = true};
constexpr Form kCount16{.width = 16, .isCount = true};
constexpr Form kZeroedCount = kCount16.ifUnwanted(Unwanted::ZeroAndMark);

/// Seven bits with sign above a bit that says whether they are new.
constexpr Form kFresh{.width = 7, .step = 8, .isSigned = true, .marker = Marker::Stale};
// Innovations expire, and what other packets say corrects some values.
constexpr Form kInnovation = kFresh.ifMissing(Missing::Keep).ifUnwanted(Unwanted::Keep).scaled(0.1).shared();

constexpr Form kByteSetting = kByteOrNone.ifMissing(Missing::Unset);
constexpr Form kWordSetting = kWordOrNone.ifMissing(Missing::Unset);

/// Three 16-bit values share byte 6 as their state: estimates are good below 150, settings at 0.
constexpr Gate kEstimated{.byte = 6, .limit = 150};
constexpr Gate kConfigured{.byte = 6, .limit = 1};
constexpr Form kEstimate = kSignedWord.when(kEstimated);
constexpr Form kAccuracy = kWord.when(kEstimated);
constexpr Form kLeverArm = kSignedWord.when(kConfigured).scaled(0.001);
constexpr Form kLeverArmAcc = kWord.when(kConfigured).scaled(0.0001);
constexpr Form kMounting = kSignedWord.when(kConfigured).scaled(kDegreesPerRadian * 0.0001);

/// Whether flags are reported at all: the byte is inverted, and so is its top bit.
constexpr Gate reportedBy(std::uint8_t byte) {
  return {.byte = byte, .limit = 128};
}
constexpr Form kInvertedBit{.width = 1, .isInverted = true};

constexpr double kCelsius = -273.15 + 203.15;

/// A place among the bits of a channel.
struct Place {
  std::uint8_t byte;
  std::uint8_t bit = 0;
};

/// Collects the rows of all channels.
struct RowList {
  static constexpr std::size_t kCapacity = 600;
  std::array<ChannelRow, kCapacity> rows{};
  std::size_t count = 0;

  /// Fields of one form that follow each other from a place on.
  consteval void add(int channel, Place place, const Form& form, std::initializer_list<FieldRef> fields) {
    std::size_t shift = place.byte * 8U + place.bit;
    for (const FieldRef& field : fields) {
      if (shift + form.width > 64) throw "a field reaches beyond the channel's bytes";
      rows[count++] = {static_cast<std::uint8_t>(channel), static_cast<std::uint8_t>(shift), form, field};
      shift += form.step != 0 ? form.step : form.width;
    }
  }
};

using namespace Field;

consteval void addEstimates(RowList& list) {
  list.add(3, {0}, kAccuracy.scaled(0.001), {NorthAcc, EastAcc, AltAcc});
  list.add(3, {7}, kByteOrNone.in(Protocols::Quon), {UmacStatus});
  list.add(4, {0}, kAccuracy.scaled(0.001), {VnAcc, VeAcc, VdAcc});
  list.add(4, {4}, kAccuracy.scaled(0.001), {VuAcc});
  list.add(4, {7}, kByteOrNone, {Generator});
  list.add(5, {0}, kAccuracy.scaled(kDegreesPerRadian * 1e-5), {HeadingAcc, PitchAcc, RollAcc});
  constexpr Form kVersion = kByte.ifUnwanted(Unwanted::Decode);
  list.add(5, {7}, kVersion.marked(Marker::Ones).replacedBy(1).in(Protocols::Quon), {ProductVersion});
  list.add(5, {7}, kVersion.in(Protocols::Dask), {ProductVersion});

  list.add(6, {0}, kEstimate.scaled(kDegreesPerRadian * 5e-6), {WxBias, WyBias, WzBias});
  list.add(7, {0}, kEstimate.scaled(0.0001), {AxBias, AyBias, AzBias});
  list.add(8, {0}, kEstimate.scaled(1e-6), {WxSf, WySf, WzSf});
  list.add(9, {0}, kAccuracy.scaled(kDegreesPerRadian * 1e-6), {WxBiasAcc, WyBiasAcc, WzBiasAcc});
  list.add(10, {0}, kAccuracy.scaled(1e-5), {AxBiasAcc, AyBiasAcc, AzBiasAcc});
  list.add(11, {0}, kAccuracy.scaled(1e-6), {WxSfAcc, WySfAcc, WzSfAcc});
  list.add(72, {0}, kEstimate.scaled(1e-6), {AxSf, AySf, AzSf});
  list.add(73, {0}, kAccuracy.scaled(1e-6), {AxSfAcc, AySfAcc, AzSfAcc});

  list.add(12, {0}, kEstimate.scaled(0.001).shared(), {GAPx, GAPy, GAPz});
  list.add(14, {0}, kAccuracy.scaled(0.0001), {GAPxAcc, GAPyAcc, GAPzAcc});
  list.add(13, {0}, kEstimate.scaled(kDegreesPerRadian * 0.0001), {AtH, AtP});
  list.add(13, {4}, kAccuracy.scaled(0.001).marked(Marker::OnesOrZero).ifMissing(Missing::Unset), {BaseLineLength});
  list.add(15, {0}, kAccuracy.scaled(kDegreesPerRadian * 1e-5), {AtHAcc, AtPAcc});
  list.add(15, {4}, kAccuracy.scaled(0.0001).marked(Marker::Ones).ifMissing(Missing::Unset), {BaseLineLengthAcc});

  constexpr Gate kKnown{.byte = 6, .limit = 255};
  constexpr Form kMisAlign = kSignedWord.when(kKnown).scaled(kDegreesPerRadian * 0.0001);
  constexpr Form kMisAlignAcc = kWord.when(kKnown).scaled(kDegreesPerRadian * 1e-5);
  list.add(37, {0}, kMisAlign, {HeadingMisAlign});
  list.add(37, {2}, kMisAlignAcc, {HeadingMisAlignAcc});
  list.add(91, {0}, kMisAlign, {PitchMisAlign});
  list.add(91, {2}, kMisAlignAcc, {PitchMisAlignAcc});

  list.add(1, {0, 1}, kInnovation, {InnPosX, InnPosY, InnPosZ, InnVelX, InnVelY, InnVelZ, InnPitch, InnHeading});
  list.add(32, {0, 1}, kInnovation,
           {InnZeroVelX, InnZeroVelY, InnZeroVelZ, InnNoSlipH, InnHeadingH, InnWSpeed, InnClockOffset, InnClockDrift});
  list.add(88, {0, 1}, kInnovation, {InnNoVSlipP});
}

/// A lever arm that the one protocol sends in millimetres and the other in centimetres.
consteval void addLeverArm(RowList& list, int channel, std::initializer_list<FieldRef> fields) {
  list.add(channel, {0}, kLeverArm.in(Protocols::Quon), fields);
  list.add(channel, {0}, kLeverArm.scaled(0.01).in(Protocols::Dask), fields);
}

consteval void addMounting(RowList& list) {
  list.add(16, {0}, kMounting, {Imu2VehHeading, Imu2VehPitch, Imu2VehRoll});
  list.add(16, {7, 1}, kFresh, {TimeUtcOffset});
  list.add(58, {0}, kMounting, {Veh2OutHeading, Veh2OutPitch, Veh2OutRoll});
  list.add(60, {0}, kMounting, {Ned2SurfHeading, Ned2SurfPitch, Ned2SurfRoll});

  addLeverArm(list, 26, {RemoteLeverArmX, RemoteLeverArmY, RemoteLeverArmZ});
  list.add(26, {7}, kByteOrNone, {HeaveDCCoupling});
  constexpr std::array kPointChannels{51, 52, 53, 54, 68, 69, 70, 71};
  for (const Point& point : MeasPt) {
    addLeverArm(list, kPointChannels[point.block], {point.PointXv, point.PointYv, point.PointZv});
  }

  list.add(33, {0}, kLeverArm, {ZeroVelLeverArmX, ZeroVelLeverArmY, ZeroVelLeverArmZ});
  list.add(34, {0}, kLeverArmAcc, {ZeroVelLeverArmXAcc, ZeroVelLeverArmYAcc, ZeroVelLeverArmZAcc});
  list.add(35, {0}, kLeverArm, {NoSlipLeverArmX, NoSlipLeverArmY, NoSlipLeverArmZ});
  list.add(36, {0}, kLeverArmAcc, {NoSlipLeverArmXAcc, NoSlipLeverArmYAcc, NoSlipLeverArmZAcc});
  list.add(46, {0}, kLeverArm, {WSpeedLeverArmX, WSpeedLeverArmY, WSpeedLeverArmZ});
  list.add(47, {0}, kLeverArmAcc, {WSpeedLeverArmXAcc, WSpeedLeverArmYAcc, WSpeedLeverArmZAcc});
  list.add(89, {0}, kLeverArm, {NoVSlipLeverArmX, NoVSlipLeverArmY, NoVSlipLeverArmZ});
  list.add(90, {0}, kLeverArmAcc, {NoVSlipLeverArmXAcc, NoVSlipLeverArmYAcc, NoVSlipLeverArmZAcc});
}

consteval void addReceiver(RowList& list, const Receiver& receiver, int countChannel, int stateChannel) {
  list.add(countChannel, {0}, kZeroedCount, {receiver.Chars, receiver.Pkts, receiver.CharsSkipped, receiver.OldPkts});
  list.add(stateChannel, {0, 0}, Form{.width = 2, .marker = Marker::Ones}, {receiver.AntStatus, receiver.AntPower});
  list.add(stateChannel, {1}, kByteOrNone, {receiver.CpuUsed, receiver.CoreNoise, receiver.SerBaud, receiver.NumSats});
  list.add(stateChannel, {5}, kByteOrNone, {receiver.PosMode});
  list.add(stateChannel, {6}, kByteOrNone.offsetBy(kCelsius), {receiver.CoreTemp});
  list.add(stateChannel, {7}, kByteOrNone.scaled(0.1), {receiver.SupplyVolt});
}

consteval void addSatellites(RowList& list) {
  addReceiver(list, GpsInt1, 2, 55);
  addReceiver(list, GpsExt1, 17, 56);
  addReceiver(list, GpsInt2, 61, 62);

  list.add(0, {4}, kOption.shared(), {GpsNumObs, GpsPosMode, GpsVelMode, GpsAttMode});
  list.add(6, {7}, kNibble, {GpsInt1.NumMeasGpsL1, GpsInt1.NumMeasGpsL2});
  list.add(7, {7}, kNibble, {GpsExt1.NumMeasGpsL1, GpsExt1.NumMeasGpsL2});
  list.add(8, {7}, kNibble, {GpsInt2.NumMeasGpsL1, GpsInt2.NumMeasGpsL2});
  list.add(9, {7}, kNibble, {GpsInt1.NumMeasGlonassL1, GpsInt1.NumMeasGlonassL2});
  list.add(10, {7}, kNibble, {GpsExt1.NumMeasGlonassL1, GpsExt1.NumMeasGlonassL2});
  list.add(11, {7}, kNibble, {GpsInt2.NumMeasGlonassL1, GpsInt2.NumMeasGlonassL2});
  list.add(13, {7}, kNibble, {HeadNumMeasGpsUsedL1, HeadNumMeasGpsTotal});
  list.add(14, {7}, kNibble, {GpsPosNumObsGps, GpsPosNumObsGlonass});
  list.add(15, {7}, kNibble, {HeadNumMeasGlonassUsedL1, HeadNumMeasGlonassTotal});
  list.add(37, {4}, kByteOrNone, {GpsPosNumObs, GpsVelNumObs});
  list.add(37, {7}, kByteOrNone, {GpsAttNumObs});
  list.add(72, {7}, kNibble, {GpsDiffNumMeasGpsL1, GpsDiffNumMeasGpsL2});
  list.add(73, {7}, kNibble, {GpsDiffNumMeasGlonassL1, GpsDiffNumMeasGlonassL2});
  list.add(93, {1}, kNibble.in(Protocols::Quon), {GpsPosNumObsGalileo, GpsPosNumObsBeiDou});
  list.add(94, {0}, kNibble,
           {GpsInt1.NumMeasGalileoE1, GpsInt1.NumMeasGalileoE5, GpsExt1.NumMeasGalileoE1, GpsExt1.NumMeasGalileoE5,
            GpsInt2.NumMeasGalileoE1, GpsInt2.NumMeasGalileoE5, GpsInt1.NumMeasBeiDouB1, GpsInt1.NumMeasBeiDouB2,
            GpsExt1.NumMeasBeiDouB1, GpsExt1.NumMeasBeiDouB2, GpsInt2.NumMeasBeiDouB1, GpsInt2.NumMeasBeiDouB2});
  list.add(94, {6}, kNibble.in(Protocols::Quon),
           {GpsDiffNumMeasGalileoL1, GpsDiffNumMeasGalileoL2, GpsDiffNumMeasBeiDouL1, GpsDiffNumMeasBeiDouL2});

  list.add(48, {0}, kSignedWord.marked(Marker::TwoLowest).scaled(0.005), {Undulation});
  list.add(48, {2}, kByteOrNone.scaled(0.1), {HDOP, PDOP});
  list.add(48, {5}, kByteOrNone.in(Protocols::Quon), {OutputDatum});
  list.add(48, {6}, kByteOrNone, {DatumEllipsoid, DatumFrame});

  constexpr Form kDiffAge{.width = 16, .isSigned = true, .marker = Marker::TopBit};
  list.add(20, {0}, kDiffAge.scaled(0.01).replacedBy(-1), {GpsDiffAge});
  list.add(76, {0}, kCount16, {GpsDiffChars, GpsDiffPkts, GpsDiffCharsSkipped});
  list.add(76, {6}, kByteOrNone, {GpsDiffNtripStatus});
  list.add(77, {0}, kByteOrNone, {GpsDiffFormat, GpsDiffType, GpsDiffNumStations});
  list.add(77, {3}, Form{.width = 10, .marker = Marker::Ones},
           {BaseStationSlot0, BaseStationSlot1, BaseStationSlot2, BaseStationSlot3});

  list.add(27, {0}, kByteOrNone.shared(), {HeadQuality, HeadSearchType, HeadSearchStatus, HeadSearchReady});
  list.add(27, {4}, kWordOrNone, {HeadSearchInit, HeadSearchNum});
  list.add(28, {0}, kByteOrNone.offsetBy(1), {HeadSearchMaster, HeadSearchSlave1, HeadSearchSlave2, HeadSearchSlave3});
  list.add(28, {4}, kWordOrNone, {HeadSearchTime, HeadSearchConstr});

  list.add(49, {0}, kWordOrNone.scaled(1000.0).offsetBy(1.52e9), {OmniStarFreq});
  list.add(49, {2}, kByteOrNone.scaled(0.2), {OmniStarSNR});
  list.add(49, {3}, kByteOrNone, {OmniStarLockTime});
  list.add(49, {4}, kBit.when({.byte = 4, .limit = 255}),
           {OmniStatusVbsExpired, OmniStatusVbsOutOfRegion, OmniStatusVbsNoRemoteSites, OmniStatusHpExpired,
            OmniStatusHpOutOfRegion, OmniStatusHpNoRemoteSites, OmniStatusHpNotConverged, OmniStatusHpKeyInvalid});
  list.add(49, {5}, Form{.width = 24, .marker = Marker::Ones}, {OmniStarSerialRaw});
}

consteval void addIdentity(RowList& list) {
  list.add(19, {0}, kWhole, {DevID});
  list.add(85, {0}, kWhole, {AdkDevID});
  list.add(30, {0}, kByteOrNone, {OsVersion1, OsVersion2, OsVersion3});
  list.add(30, {6}, kWordOrNone.ifMissing(Missing::Keep).in(Protocols::Quon), {SerialNumber});
  list.add(30, {6}, kWordOrNone.in(Protocols::Dask), {SerialNumber});
  constexpr Form kSerialNumber{.width = 24, .isSigned = true, .marker = Marker::Ones, .missing = Missing::Keep};
  list.add(40, {4}, kSerialNumber.in(Protocols::Quon), {SerialNumber});
  list.add(40, {0}, kWord.ifUnwanted(Unwanted::Decode), {TxVersionId});

  list.add(31, {0}, kByteOrNone,
           {ImuType, GpsInt1.Type, GpsExt1.Type, InterPcbType, FrontPcbType, InterSwId, HwConfig});
  list.add(31, {7, 0}, kInvertedBit.when(reportedBy(7)), {PsrDiffEnabled, SBASEnabled});
  list.add(31, {7, 3}, kInvertedBit.when(reportedBy(7)),
           {OmniVBSEnabled, OmniHPEnabled, L1DiffEnabled, L1L2DiffEnabled});
  list.add(64, {0}, kByteOrNone, {CpuPcbType, GpsInt2.Type, GpsInt2.Format, DualPortRamStatus});
  list.add(64, {4}, kNibble, {GpsInt1.PosRate, GpsInt1.VelRate, GpsInt1.RawRate, GpsExt1.RawRate});
  list.add(
      64, {6}, kInvertedBit.when(reportedBy(6)),
      {GnssGlonassEnabled, GnssGalileoEnabled, RawRngEnabled, RawDopEnabled, RawL1Enabled, RawL2Enabled, RawL5Enabled});
  list.add(64, {7}, kByteOrNone.replacedBy(0), {ProductType});
  list.add(82, {0}, kByteOrNone, {ImuPcbType, GpsPcbType, FlexPcbType, AdkPcbType});
}

consteval void addHousekeeping(RowList& list) {
  list.add(18, {0}, kLong.ifUnwanted(Unwanted::ZeroAndMark), {ImuChars});
  list.add(18, {4}, kZeroedCount, {ImuPkts, ImuCharsSkipped});
  list.add(50, {0}, kCount16, {CmdChars, CmdPkts, CmdCharsSkipped, CmdErrors});
  list.add(59, {0}, kCount16, {ImuMissedPkts});
  list.add(59, {2}, kCount8, {ImuResetCount, ImuErrorCount});
  list.add(59, {6}, kWordOrNone.scaled(0.01).offsetBy(kCelsius).ifUnwanted(Unwanted::Keep), {ImuTemp});
  list.add(83, {0}, kCount16, {ImuAccelSatCount, ImuGyroSatCount, SdnSkipCount});
  list.add(83, {6}, kByteOrNone.scaled(1000), {CrystalError});
  list.add(83, {7, 0}, kInvertedBit.when(reportedBy(7)), {MemoryTempAlert});
  list.add(84, {0}, kCount16, {ImuGyroErrorCountX, ImuGyroErrorCountY, ImuGyroErrorCountZ});

  list.add(78, {0}, kCount16, {CanTxNum, CanRxNum});
  list.add(78, {4}, kByteOrNone, {CanTxOk, CanRxOk});
  list.add(78, {6}, kCount8, {CanErrorCount});
  list.add(78, {7}, kByte, {CanErrorCode});
  list.add(78, {7}, kBit,
           {CanErrorFlagStuffing, CanErrorFlagFormat, CanErrorFlagAcknowledge, CanErrorFlagBit1, CanErrorFlagBit0,
            CanErrorFlagCheckSum, CanErrorFlagBusOff, CanErrorFlagNotActive});

  list.add(21, {0}, kSize, {DiskSpace, FileSize});
  list.add(22, {0}, kWordOrNone.ifMissing(Missing::WriteAndMark), {TimeMismatch});
  list.add(22, {2}, kByteOrNone.ifMissing(Missing::WriteAndMark), {ImuTimeDiff, ImuTimeMargin});
  list.add(22, {4}, kWordOrNone.ifMissing(Missing::WriteAndMark), {ImuLoopTime, OpLoopTime});
  list.add(23, {0}, kWordOrNone, {BnsLag});
  list.add(23, {4}, kByteOrNone.ifMissing(Missing::WriteAndMark), {GPSPosReject, GPSVelReject, GPSAttReject});
  list.add(23, {7}, kByte.ifUnwanted(Unwanted::Decode), {PTPStatus});
  list.add(40, {2}, kWordOrNone.scaled(0.01), {OutputLatency});

  // The finer voltage, where there is one, takes the place of the coarser.
  list.add(75, {2}, kByteOrNone.scaled(0.2), {SupplyVolt});
  list.add(75, {7}, kByteOrNone.scaled(0.3).ifMissing(Missing::Keep).in(Protocols::Quon), {SupplyVolt});
  list.add(75, {3}, kWordOrNone.scaled(0.02).shared(), {ImuRate});

  constexpr Form kUntested = kByteOrNone.ifMissing(Missing::Keep).ifUnwanted(Unwanted::Decode);
  list.add(41, {4}, kLong.marked(Marker::Ones).ifMissing(Missing::Keep).ifUnwanted(Unwanted::Decode), {WiFiIPAddress});
  list.add(76, {7}, kUntested, {WiFiConnectionStatus});
  list.add(89, {7}, kUntested, {WiFiAccessPointStatus});
  list.add(90, {7}, kUntested, {WiFiRegion});
  constexpr Form kQuonNibble = kNibble.ifUnwanted(Unwanted::Decode).in(Protocols::Quon);
  list.add(93, {2, 0}, kQuonNibble, {NMEAOutputEnabled, PTPEpoch, PPSStatus});
  list.add(93, {4}, kByte.ifUnwanted(Unwanted::Decode).in(Protocols::Quon), {LidarIPAddress});

  list.add(40, {4}, kWordOrNone.scaled(0.01).in(Protocols::Dask), {LPHeaveLatency});
  list.add(40, {6}, kByteOrNone.scaled(0.002).in(Protocols::Dask), {LPHeavePeriod});
  list.add(40, {7}, kOption.in(Protocols::Dask), {LPHeaveMode});
}

consteval void addOptions(RowList& list) {
  list.add(29, {0}, kOption,
           {OptionLevel, OptionVibration, OptionGpsAcc, OptionUdp, OptionSer1, OptionSer2, OptionHeading});
  list.add(29, {7}, kOption.in(Protocols::Dask), {OptionHeave});
  list.add(41, {0}, kByte, {OptionSer1Baud, OptionSer2Baud, OptionSer3Baud, OptionCanBaud});

  list.add(38, {0}, kByteSetting, {OptionSZVDelay});
  list.add(38, {1}, kByteSetting.scaled(0.1), {OptionSZVPeriod});
  list.add(38, {2}, kWordSetting.scaled(0.5), {OptionTopSpeed});
  list.add(38, {4}, kByteSetting.scaled(0.1), {OptionInitSpeed});
  list.add(38, {5}, kOption, {OptionSer3});

  list.add(39, {0}, kByteSetting.scaled(0.1), {OptionNSDelay});
  list.add(39, {1}, kByteSetting.scaled(0.02), {OptionNSPeriod});
  list.add(39, {2}, kWordSetting.scaled(kDegreesPerRadian * 1e-5), {OptionNSAngleStd});
  list.add(39, {4}, kByteSetting.scaled(0.04), {OptionNSHAccel, OptionNSVAccel});
  list.add(39, {6}, kByteSetting.scaled(0.1), {OptionNSSpeed});
  list.add(39, {7}, kByteSetting.scaled(0.5), {OptionNSRadius});

  list.add(92, {0}, kByteSetting.scaled(0.1), {OptionNVSDelay});
  list.add(92, {1}, kByteSetting.scaled(0.02), {OptionNVSPeriod});
  list.add(92, {2}, kWordSetting.scaled(kDegreesPerRadian * 1e-5), {OptionNVSAngleStd});
  list.add(92, {4}, kByteSetting.scaled(kDegreesPerRadian * 0.00625), {OptionNVSPitch});
  list.add(92, {5}, kByteSetting.scaled(0.04), {OptionNVSVAccel});
  list.add(92, {6}, kByteSetting.scaled(0.1), {OptionNVSSpeed});
  list.add(92, {7}, kByteSetting.scaled(0.5), {OptionNVSRadius});

  list.add(42, {0}, kByteSetting, {OptionHLDelay});
  list.add(42, {1}, kByteSetting.scaled(0.1), {OptionHLPeriod});
  list.add(42, {2}, kWordSetting.scaled(kDegreesPerRadian * 1e-5), {OptionHLAngleStd});
  list.add(42, {4}, kByteSetting, {OptionStatDelay});
  list.add(42, {5}, kByteSetting.scaled(0.01), {OptionStatSpeed});
  list.add(42, {6}, kBit.when({.byte = 6, .limit = 128}),
           {OptionHeadingModeRawInt, OptionHeadingModeAttInt, OptionHeadingModeAttExt});

  list.add(44, {0}, kWordSetting.scaled(0.1), {WSpeedScale});
  list.add(44, {2}, kWordSetting.scaled(0.002), {WSpeedScaleStd});
  list.add(44, {4}, kByteSetting.scaled(0.1), {OptionWSpeedDelay, OptionWSpeedZVDelay, OptionWSpeedNoiseStd});
}

consteval RowList allRows() {
  RowList list;
  addEstimates(list);
  addMounting(list);
  addSatellites(list);
  addIdentity(list);
  addHousekeeping(list);
  addOptions(list);
  return list;
}

constexpr std::size_t kRowCount = allRows().count;

/// The rows of all channels, channel after channel.
struct ChannelTable {
  std::array<ChannelRow, kRowCount> rows{};
  std::array<std::uint16_t, kChannelCount + 1> starts{};

  consteval ChannelTable() {
    const RowList list = allRows();
    std::size_t next = 0;
    for (std::size_t channel = 0; channel < kChannelCount; ++channel) {
      starts[channel] = static_cast<std::uint16_t>(next);
      for (std::size_t row = 0; row < kRowCount; ++row) {
        if (list.rows[row].channel == channel) rows[next++] = list.rows[row];
      }
    }
    if (next != kRowCount) throw "a row is of no channel";
    starts[kChannelCount] = static_cast<std::uint16_t>(next);
  }
};

constexpr ChannelTable kChannelTable;

}  // namespace

std::span<const ChannelRow> channelRows(std::uint8_t channel) {
  if (channel >= kChannelCount) return {};
  const std::uint16_t start = kChannelTable.starts[channel];
  return std::span(kChannelTable.rows).subspan(start, kChannelTable.starts[channel + 1U] - start);
}

}  // namespace Kvex::Nav
