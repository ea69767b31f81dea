// The bindings of the public library. They stay thin: what Python code sees is made in python/kvex out of these.
#include <kvex/Version.h>
#include <nanobind/nanobind.h>
#include <nanobind/stl/optional.h>
#include <nanobind/stl/pair.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/unique_ptr.h>
#include <nanobind/stl/vector.h>

#include "ArrowStream.h"
#include "Objects.h"
#include "Recording.h"
#include "Writing.h"

namespace Kvex::Python {

namespace {

using namespace nb::literals;

ReadOptions readOptions(const Recording& recording, std::optional<Nano> start, std::optional<Nano> end) {
  ReadOptions options;
  options.multiplexed = recording.multiplexed();
  options.start = start;
  options.end = end;
  return options;
}

/// Lets Ctrl-C end a long operation.
void endOnInterrupt(const Progress&) {
  checkInterrupt();
}

/// Reports to a Python callable too. The callback may be copied and destroyed without the interpreter lock.
ProgressCallback progressCallback(const nb::object& callable) {
  if (callable.is_none()) return endOnInterrupt;
  const std::shared_ptr<nb::object> shared(new nb::object(callable), [](nb::object* object) {
    const nb::gil_scoped_acquire lock;
    delete object;
  });
  return [shared](const Progress& progress) {
    checkInterrupt();
    const nb::gil_scoped_acquire lock;
    (*shared)(toStr(nameOf(progress.activity)), progress.fraction);
  };
}

std::shared_ptr<Recording> openRecording(const std::string& path, bool multiplexed, const nb::object& progress) {
  OpenOptions options;
  options.progress = progressCallback(progress);
  const nb::gil_scoped_release unlocked;
  return std::make_shared<Recording>(path, options, multiplexed);
}

/// A grid of whichever was asked for: a period, times, or the times of another signal.
std::optional<Grid> gridOf(std::optional<Nano> period, std::optional<std::vector<Nano>> times,
                           const std::optional<Signal>& like) {
  if (period) return Grid::every(*period);
  if (times) return Grid::at(std::move(*times));
  if (like) return Grid::like(like->qualifiedName());
  return std::nullopt;
}

ArrowTable tableOf(const Recording& recording, const std::vector<Signal>& signals,
                   const std::vector<std::string>& names, bool utc, bool texts) {
  Metadata metadata{{"kvex.file", toUtf8(recording.about().path())}, {"kvex.version", std::string(version())}};
  return {signals, names, {utc, texts}, std::move(metadata)};
}

nb::object countersOf(const std::vector<Counter>& counters) {
  nb::dict result;
  for (const Counter& counter : counters) result[toStr(counter.name)] = counter.count;
  return result;
}

nb::object headerOf(const Header& header) {
  nb::dict values;
  for (const auto& [key, value] : header.values) values[toStr(key)] = toStr(value);
  return nb::make_tuple(toStr(header.tag), values);
}

/// The value of a `Value` with its stamp; None without.
nb::object stamped(const Value& value) {
  if (value.type() == ValueType::None) return nb::none();
  return nb::make_tuple(toObject(value), toObject(value.stamp()), value.flags());
}

nb::object readColumns(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
                       TableRows rows) {
  rows.options.flags = true;
  rows.options.stamps = true;
  std::optional<Recording::Lease> file;
  std::optional<Reader> reader;
  {
    const nb::gil_scoped_release unlocked;
    file.emplace(recording->lease());
    rows.options.progress = endOnInterrupt;
    reader.emplace(beginReading(*file, signals, rows));
  }
  return collect(*reader, signals);
}

nb::object statisticsOf(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
                        ReadOptions options) {
  std::vector<Statistics> all;
  {
    const nb::gil_scoped_release unlocked;
    options.progress = endOnInterrupt;
    const Recording::Lease file = recording->lease();
    all = file->statistics(file.own(signals), options);
  }
  nb::list result;
  for (const Statistics& one : all) {
    nb::dict entry;
    entry["signal"] = one.signal;
    entry["samples"] = one.samples;
    entry["usable"] = one.usable;
    entry["rate"] = one.rate;
    entry["first"] = stamped(one.first);
    entry["last"] = stamped(one.last);
    entry["smallest"] = stamped(one.smallest);
    entry["largest"] = stamped(one.largest);
    entry["changes"] = one.changes;
    result.append(entry);
  }
  return result;
}

nb::object statesOf(const std::shared_ptr<Recording>& recording, const Signal& signal, ReadOptions options) {
  std::vector<State> all;
  {
    const nb::gil_scoped_release unlocked;
    options.progress = endOnInterrupt;
    const Recording::Lease file = recording->lease();
    for (const State& state : file->states(file.own({signal}).front(), options)) all.push_back(state);
  }
  nb::list result;
  for (const State& state : all) {
    result.append(
        nb::make_tuple(toObject(state.value), toStr(signal.text(state.value)), state.from, state.to, state.samples));
  }
  return result;
}

/// A time that a person typed, in GPS nanoseconds.
Nano typedTime(const Recording& recording, const std::string& text) {
  if (!recording.about().hasTime()) throw Error(ErrorCode::NoTime, "no stream has time", recording.about().path());
  return TimeText(text).in(recording.about().span());
}

nb::object eventsOf(const std::shared_ptr<Recording>& recording, const std::vector<std::string>& kinds,
                    std::vector<std::uint32_t> streams, std::optional<Nano> start, std::optional<Nano> end) {
  EventOptions options{.streams = std::move(streams), .start = start, .end = end};
  for (const std::string& name : kinds) {
    const std::optional<EventKind> kind = eventKind(name);
    if (!kind) throw Error(ErrorCode::InvalidArgument, "\"" + name + "\" is no kind of events");
    options.kinds.push_back(*kind);
  }
  Events events;
  {
    const nb::gil_scoped_release unlocked;
    options.progress = endOnInterrupt;
    const Recording::Lease file = recording->lease();
    events = file->events(options);
  }
  nb::list result;
  for (const Event& event : events.list) {
    result.append(nb::make_tuple(toObject(event.time), event.stream, toStr(nameOf(event.kind)), toStr(event.text),
                                 toObject(event.record), toStr(event.signal), toObject(event.before),
                                 toObject(event.after)));
  }
  return result;
}

/// Edges of the slices, and for each signal rows of samples, usable ones, first, last, smallest, largest.
nb::object overviewOf(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
                      std::size_t slices, ReadOptions options) {
  std::optional<Overview> overview;
  {
    const nb::gil_scoped_release unlocked;
    options.progress = endOnInterrupt;
    const Recording::Lease file = recording->lease();
    overview = file->overview(file.own(signals), slices, options);
  }
  const std::size_t count = overview->signals().size();
  std::vector<Nano> edges;
  for (std::size_t slice = 0; slice <= slices; ++slice) edges.push_back(overview->sliceStart(slice));
  std::vector<std::uint64_t> samples;
  std::vector<std::uint64_t> usable;
  std::vector<double> values[4];
  for (std::size_t signal = 0; signal < count; ++signal) {
    for (std::size_t i = 0; i < slices; ++i) {
      const Slice slice = overview->at(signal, i);
      samples.push_back(slice.samples);
      usable.push_back(slice.usable);
      const Value* const shown[] = {&slice.first, &slice.last, &slice.smallest, &slice.largest};
      for (std::size_t kind = 0; kind < 4; ++kind) values[kind].push_back(shown[kind]->asDouble());
    }
  }
  const std::vector<std::size_t> shape{count, slices};
  nb::list asked;
  for (const Signal& signal : overview->signals()) asked.append(signal);
  return nb::make_tuple(asked, toArray(std::move(edges)), toArray(std::move(samples), shape),
                        toArray(std::move(usable), shape), toArray(std::move(values[0]), shape),
                        toArray(std::move(values[1]), shape), toArray(std::move(values[2]), shape),
                        toArray(std::move(values[3]), shape));
}

void bindSignal(nb::module_& module) {
  nb::class_<Signal>(module, "Signal")
      .def_prop_ro("stream", &Signal::stream)
      .def_prop_ro("ordinal", &Signal::ordinal)
      .def_prop_ro("name", [](const Signal& self) { return toStr(self.name()); })
      .def_prop_ro("qualified_name", [](const Signal& self) { return toStr(self.qualifiedName()); })
      .def_prop_ro("type", [](const Signal& self) { return toStr(nameOf(self.type())); })
      .def_prop_ro("count", &Signal::count)
      .def_prop_ro("is_array", &Signal::isArray)
      .def_prop_ro("element", &Signal::element)
      .def("at", &Signal::at, "element"_a)
      .def(
          "element_label", [](const Signal& self, std::uint32_t element) { return toStr(self.elementLabel(element)); },
          "element"_a)
      .def_prop_ro("unit", [](const Signal& self) { return toStr(self.unit()); })
      .def_prop_ro("description", [](const Signal& self) { return toStr(self.description()); })
      .def_prop_ro("table", [](const Signal& self) { return toStr(self.table()); })
      .def_prop_ro("multiplexer",
                   [](const Signal& self) -> nb::object {
                     if (!self.multiplexer()) return nb::none();
                     return nb::cast(toStr(self.multiplexer()->text()));
                   })
      .def_prop_ro("resolution", &Signal::resolution)
      .def_prop_ro("decimals", &Signal::decimals)
      .def_prop_ro("range", [](const Signal& self) { return std::pair(self.rangeLow(), self.rangeHigh()); })
      .def_prop_ro("texts",
                   [](const Signal& self) {
                     nb::dict texts;
                     for (const ValueText& text : self.texts()) texts[nb::cast(text.value)] = toStr(text.text);
                     return texts;
                   })
      .def(
          "__eq__",
          [](const Signal& self, const nb::object& other) {
            return nb::isinstance<Signal>(other) && self == nb::cast<const Signal&>(other);
          },
          "other"_a.none());
}

void bindStream(nb::module_& module) {
  nb::class_<Stream>(module, "Stream")
      .def_prop_ro("id", &Stream::id)
      .def_prop_ro("serial", &Stream::serial)
      .def_prop_ro("codec", [](const Stream& self) { return toStr(self.codec()); })
      .def_prop_ro("name", [](const Stream& self) { return toStr(self.name()); })
      .def_prop_ro("has_time", &Stream::hasTime)
      .def_prop_ro("start_gps", [](const Stream& self) { return self.hasTime() ? nb::cast(self.start()) : nb::none(); })
      .def_prop_ro("end_gps", [](const Stream& self) { return self.hasTime() ? nb::cast(self.end()) : nb::none(); })
      .def_prop_ro("header", [](const Stream& self) { return headerOf(self.header()); })
      .def_prop_ro("headers",
                   [](const Stream& self) {
                     nb::list headers;
                     for (const Header& header : self.headers()) headers.append(headerOf(header));
                     return headers;
                   })
      .def_prop_ro("counters", [](const Stream& self) { return countersOf(self.counters()); })
      .def_prop_ro("signals", &Stream::signals);
}

void bindRecording(nb::module_& module) {
  nb::class_<Recording>(module, "Recording")
      .def_prop_ro("path", [](const Recording& self) { return toStr(self.about().path()); })
      .def_prop_ro("span",
                   [](const Recording& self) -> nb::object {
                     if (!self.about().hasTime()) return nb::none();
                     return nb::make_tuple(self.about().span().start, self.about().span().end);
                   })
      .def_prop_ro("streams", [](const Recording& self) { return self.about().streams(); })
      .def_prop_ro("signals", [](const Recording& self) { return self.about().signals(); })
      .def_prop_ro("judgement", [](const Recording& self) { return toStr(nameOf(self.about().judgement())); })
      .def_prop_ro("sentence", [](const Recording& self) { return toStr(self.about().damage().sentence()); })
      .def_prop_ro("places",
                   [](const Recording& self) {
                     nb::list places;
                     for (const Place& place : self.about().damage().places()) {
                       places.append(nb::make_tuple(toStr(nameOf(place.kind)), place.stream, toObject(place.from),
                                                    toObject(place.to), place.count, place.lost, toStr(place.text)));
                     }
                     return places;
                   })
      .def(
          "signal", [](const Recording& self, const std::string& text) { return self.about().signal(text); }, "text"_a)
      .def(
          "match", [](const Recording& self, const std::string& pattern) { return self.about().match(pattern); },
          "pattern"_a)
      .def(
          "search", [](const Recording& self, const std::string& words) { return self.about().search(words); },
          "words"_a)
      .def(
          "choose_all",
          [](const Recording& self, const std::vector<std::string>& texts, const std::vector<std::uint32_t>& streams) {
            return self.about().choose(texts, streams);
          },
          "texts"_a, "streams"_a)
      .def(
          "choose", [](const Recording& self, const std::string& text) { return self.about().choose({text}); },
          "text"_a)
      .def(
          "resolve", [](const Recording& self, const std::string& text) { return self.about().resolve(text); },
          "text"_a)
      .def(
          "schema",
          [](const Recording& self, const std::vector<Signal>& signals, const std::vector<std::string>& names, bool utc,
             bool texts) { return schemaCapsule(tableOf(self, signals, names, utc, texts)); },
          "signals"_a, "names"_a, "utc"_a, "texts"_a)
      .def(
          "stream",
          [](const std::shared_ptr<Recording>& self, const std::vector<Signal>& signals,
             const std::vector<std::string>& names, bool utc, bool texts, std::optional<Nano> period,
             std::optional<std::vector<Nano>> times, const std::optional<Signal>& like, std::optional<Nano> start,
             std::optional<Nano> end) {
            return streamCapsule(self, signals, tableOf(*self, signals, names, utc, texts),
                                 {gridOf(period, std::move(times), like), readOptions(*self, start, end)});
          },
          "signals"_a, "names"_a, "utc"_a, "texts"_a, "period"_a = nb::none(), "times"_a = nb::none(),
          "like"_a = nb::none(), "start"_a = nb::none(), "end"_a = nb::none())
      .def(
          "batches",
          [](const std::shared_ptr<Recording>& self, const std::vector<std::vector<Signal>>& tables,
             const std::vector<std::vector<std::string>>& names, bool utc, bool texts, std::optional<Nano> start,
             std::optional<Nano> end) {
            std::vector<Signal> signals;
            std::vector<std::string> titles;
            std::vector<ArrowTable> forms;
            for (std::size_t i = 0; i < tables.size(); ++i) {
              signals.insert(signals.end(), tables[i].begin(), tables[i].end());
              titles.push_back(tables[i].front().table());
              forms.push_back(tableOf(*self, tables[i], names[i], utc, texts));
            }
            return std::make_unique<TableBatches>(self, signals, std::move(titles), std::move(forms),
                                                  readOptions(*self, start, end));
          },
          "tables"_a, "names"_a, "utc"_a, "texts"_a, "start"_a = nb::none(), "end"_a = nb::none())
      .def(
          "read",
          [](const std::shared_ptr<Recording>& self, const std::vector<Signal>& signals, std::optional<Nano> period,
             std::optional<std::vector<Nano>> times, const std::optional<Signal>& like, std::optional<Nano> start,
             std::optional<Nano> end) {
            return readColumns(self, signals, {gridOf(period, std::move(times), like), readOptions(*self, start, end)});
          },
          "signals"_a, "period"_a = nb::none(), "times"_a = nb::none(), "like"_a = nb::none(), "start"_a = nb::none(),
          "end"_a = nb::none())
      .def(
          "statistics",
          [](const std::shared_ptr<Recording>& self, const std::vector<Signal>& signals, std::optional<Nano> start,
             std::optional<Nano> end) { return statisticsOf(self, signals, readOptions(*self, start, end)); },
          "signals"_a, "start"_a = nb::none(), "end"_a = nb::none())
      .def(
          "states",
          [](const std::shared_ptr<Recording>& self, const Signal& signal, std::optional<Nano> start,
             std::optional<Nano> end) { return statesOf(self, signal, readOptions(*self, start, end)); },
          "signal"_a, "start"_a = nb::none(), "end"_a = nb::none())
      .def("time", &typedTime, "text"_a)
      .def("events", &eventsOf, "kinds"_a, "streams"_a, "start"_a = nb::none(), "end"_a = nb::none())
      .def(
          "overview",
          [](const std::shared_ptr<Recording>& self, const std::vector<Signal>& signals, std::size_t slices,
             std::optional<Nano> start,
             std::optional<Nano> end) { return overviewOf(self, signals, slices, readOptions(*self, start, end)); },
          "signals"_a, "slices"_a, "start"_a = nb::none(), "end"_a = nb::none());
  module.def("open", &openRecording, "path"_a, "multiplexed"_a = false, "progress"_a = nb::none());
  nb::class_<TableBatches>(module, "TableBatches").def("next", &TableBatches::next);
}

/// An error of the library becomes the exception that kvex.errors makes of it.
void bindErrors() {
  nb::register_exception_translator([](const std::exception_ptr& thrown, void*) {
    try {
      std::rethrow_exception(thrown);
    } catch (const Error& error) {
      nb::list candidates;
      for (const std::string& candidate : error.candidates()) candidates.append(toStr(candidate));
      const nb::object made = nb::module_::import_("kvex._errors")
                                  .attr("made")(toStr(nameOf(error.code())), toStr(error.what()), toStr(error.file()),
                                                error.offset(), toStr(error.reason()), candidates);
      PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(made.ptr())), made.ptr());
    }
  });
}

}  // namespace

}  // namespace Kvex::Python

NB_MODULE(_kvex, module) {
  using namespace Kvex::Python;
  bindErrors();
  bindSignal(module);
  bindStream(module);
  bindRecording(module);
  bindWriting(module);
  module.def("version", [] { return toStr(Kvex::version()); });
  module.def(
      "utc_text", [](Kvex::Nano time) { return Kvex::utcText(time); }, nb::arg("gps"));
  module.def(
      "unix_times", [](const std::vector<Kvex::Nano>& times) { return toArray(unixTimes(times)); }, nb::arg("gps"));
}
