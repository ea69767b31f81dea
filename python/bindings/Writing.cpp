#include "Writing.h"

#include <kvex/Track.h>
#include <kvex/Writing.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "Objects.h"
#include "Recording.h"

namespace Kvex::Python {

namespace {

using namespace nb::literals;

void endOnInterrupt(const Progress&) {
  checkInterrupt();
}

nb::object rescueTo(const std::string& path, const std::string& out, bool force) {
  RescueReport report;
  {
    const nb::gil_scoped_release unlocked;
    report = rescue(path, out, {.force = force, .progress = endOnInterrupt});
  }
  nb::list streams;
  for (const RescuedStream& stream : report.streams) {
    streams.append(nb::make_tuple(stream.serial, toStr(stream.codec), stream.saved, stream.packets, stream.packetsLost,
                                  stream.pagesLost, stream.time, stream.timeLost));
  }
  return nb::make_tuple(report.lost, report.junkBytes, streams);
}

nb::object mergeTo(const std::vector<std::string>& paths, const std::string& out, bool force) {
  MergeReport report;
  {
    const nb::gil_scoped_release unlocked;
    report = merge(paths, out, {.force = force, .progress = endOnInterrupt});
  }
  nb::list streams;
  for (const MergedStream& stream : report.streams) {
    streams.append(nb::make_tuple(stream.input, stream.serial, stream.newSerial, stream.packets));
  }
  return nb::make_tuple(report.damaged, streams);
}

nb::object cutTo(const std::shared_ptr<Recording>& recording, const std::string& out, std::optional<Nano> start,
                 std::optional<Nano> end, std::optional<Nano> lead, std::vector<std::uint32_t> streams, bool force) {
  CutReport report;
  {
    const nb::gil_scoped_release unlocked;
    CutOptions options;
    options.force = force;
    options.progress = endOnInterrupt;
    options.start = start;
    options.end = end;
    options.lead = lead;
    options.streams = std::move(streams);
    const Recording::Lease file = recording->lease();
    report = file->cut(out, options);
  }
  nb::list cut;
  for (const CutStream& stream : report.streams) {
    nb::list lost;
    for (const std::string& name : stream.lostSignals) lost.append(toStr(name));
    cut.append(nb::make_tuple(stream.id, stream.packets, stream.lead, lost));
  }
  nb::list notes;
  for (const std::string& note : report.notes) notes.append(toStr(note));
  return nb::make_tuple(report.damaged, cut, notes);
}

/// Of the points of a path: time, latitude, longitude, altitude, speed, course, accuracy, mode (-1 for none), and
/// whether a part begins.
nb::object trackOf(const std::shared_ptr<Recording>& recording, const TrackOptions& asked) {
  std::vector<Nano> times;
  std::vector<double> values[6];
  std::vector<std::int16_t> modes;
  std::vector<std::uint8_t> begins;
  {
    const nb::gil_scoped_release unlocked;
    TrackOptions options = asked;
    options.progress = endOnInterrupt;
    const Recording::Lease file = recording->lease();
    file->track(options, [&](const TrackPoint& point) {
      times.push_back(point.time);
      const double shown[] = {point.latitude, point.longitude, point.altitude,
                              point.speed,    point.course,    point.accuracy};
      for (std::size_t i = 0; i < 6; ++i) values[i].push_back(shown[i]);
      modes.push_back(point.mode ? static_cast<std::int16_t>(*point.mode) : std::int16_t{-1});
      begins.push_back(point.beginsPart ? 1 : 0);
    });
  }
  return nb::make_tuple(toArray(std::move(times)), toArray(std::move(values[0])), toArray(std::move(values[1])),
                        toArray(std::move(values[2])), toArray(std::move(values[3])), toArray(std::move(values[4])),
                        toArray(std::move(values[5])), toArray(std::move(modes)), toArray(std::move(begins)));
}

}  // namespace

void bindWriting(nb::module_& module) {
  module.def("rescue", &rescueTo, "path"_a, "out"_a, "force"_a);
  module.def("merge", &mergeTo, "paths"_a, "out"_a, "force"_a);
  module.def("cut", &cutTo, "recording"_a, "out"_a, "start"_a.none(), "end"_a.none(), "lead"_a.none(), "streams"_a,
             "force"_a);
  module.def(
      "track",
      [](const std::shared_ptr<Recording>& recording, std::optional<std::uint32_t> stream, std::optional<Nano> start,
         std::optional<Nano> end, Nano period, double tolerance, std::string object) {
        return trackOf(recording, {.stream = stream,
                                   .start = start,
                                   .end = end,
                                   .period = period,
                                   .tolerance = tolerance,
                                   .object = std::move(object)});
      },
      "recording"_a, "stream"_a.none(), "start"_a.none(), "end"_a.none(), "period"_a, "tolerance"_a, "object"_a);
}

}  // namespace Kvex::Python
