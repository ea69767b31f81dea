#include <cstdint>
#include <optional>

#include "nav/Axes.h"
#include "nav/Derived.h"

namespace Kvex::Nav {

namespace {

void deriveRate(NavState& state, std::array<RateEstimator, 3>& estimators, const Axes& from, const Axes& to) {
  const NavRecord& record = state.record;
  if (!allUsable(record, from) || !record.NanoSeconds.usable()) return;
  for (std::size_t i = 0; i < estimators.size(); ++i) {
    estimators[i].step(record.NanoSeconds.value, (record.*from[i]).value);
    if (estimators[i].ready()) state.setField(state.record.*to[i], estimators[i].rate());
  }
}

template <class Filter>
void filterAxes(NavState& state, AxisFilters<Filter>& filters, const Axes& from, const Axes& to) {
  const NavRecord& record = state.record;
  if (!allUsable(record, from) || !record.NanoSeconds.usable()) return;
  if (filters.bypass) {
    setAxes(state, to, valuesOf(record, from));
    return;
  }
  for (std::size_t i = 0; i < filters.axes.size(); ++i) {
    Filter& filter = filters.axes[i];
    filter.step(record.NanoSeconds.value, (record.*from[i]).value);
    if (filter.ready()) state.setField(state.record.*to[i], filter.output());
  }
}

template <class T>
void setOrMark(NavState& state, NavField<T>& field, std::optional<T> value) {
  if (value) {
    state.setField(field, *value);
  } else {
    markNotAvailable(field);
  }
}

/// Takes over the two parameters that switch a filter off when both are 0. They are looked at after each of them: a
/// pair of one new and one old value counts.
template <class Filter, class T>
void setPair(NavState& state, AxisFilters<Filter>& filters, NavField<T>& first, std::optional<T> firstValue,
             NavField<double>& second, std::optional<double> secondValue) {
  const auto look = [&] {
    if (allUsable(first, second) && first.value == T{} && second.value == 0.0) filters.bypass = true;
  };
  setOrMark(state, first, firstValue);
  look();
  setOrMark(state, second, secondValue);
  look();
}

void configureLowPass(NavState& state, AxisFilters<BiquadFilter>& filters, NavField<double>& freq,
                      std::optional<double> freqValue, NavField<double>& zeta, std::optional<double> zetaValue) {
  setPair(state, filters, freq, freqValue, zeta, zetaValue);
  if (!allUsable(freq, zeta)) return;
  for (BiquadFilter& filter : filters.axes) filter.configure(freq.value, zeta.value);
}

}  // namespace

void deriveRates(NavState& state) {
  if (state.wants.Jx && state.protocol.hasJerk) deriveRate(state, state.derived.jerk, kAcceleration, kJerk);
  if (state.wants.Yx) deriveRate(state, state.derived.angularAcceleration, kAngularRate, kAngularAcceleration);
}

void deriveFiltered(NavState& state) {
  DerivedState& derived = state.derived;
  if (state.wants.FiltAx) filterAxes(state, derived.accelerationFilter, kAcceleration, kFilteredAcceleration);
  if (state.wants.FiltJx) filterAxes(state, derived.jerkFilter, kJerk, kFilteredJerk);
  if (state.wants.FiltYx) {
    filterAxes(state, derived.angularAccelerationFilter, kAngularAcceleration, kFilteredAngularAcceleration);
  }
}

void configureLinAccFilter(NavState& state, std::optional<double> freq, std::optional<double> zeta) {
  NavRecord& record = state.record;
  configureLowPass(state, state.derived.accelerationFilter, record.LinAccFiltFreq, freq, record.LinAccFiltZeta, zeta);
}

void configureAngAccFilter(NavState& state, std::optional<double> freq, std::optional<double> zeta) {
  NavRecord& record = state.record;
  configureLowPass(state, state.derived.angularAccelerationFilter, record.AngAccFiltFreq, freq, record.AngAccFiltZeta,
                   zeta);
}

void configureLinJerkFilter(NavState& state, std::optional<std::uint8_t> type, std::optional<std::int32_t> order,
                            std::optional<double> freq, double movAvgLen) {
  NavRecord& record = state.record;
  DerivedState& derived = state.derived;
  setOrMark(state, record.LinJerkFiltType, type);
  setPair(state, derived.jerkFilter, record.LinJerkFiltOrder, order, record.LinJerkFiltFreq, freq);
  state.setField(record.LinJerkMovAvgLen, movAvgLen);

  const bool known = allUsable(record.LinJerkFiltType, record.LinJerkFiltOrder, record.LinJerkFiltFreq);
  for (std::array<JerkFilter, 3>* filters : {&derived.jerkFilter.axes, &derived.isoJerkFilter}) {
    for (JerkFilter& filter : *filters) {
      filter.average.setWindow(movAvgLen);
      if (!known) continue;
      filter.lowPass.configure(record.LinJerkFiltType.value, static_cast<std::uint8_t>(record.LinJerkFiltOrder.value),
                               record.LinJerkFiltFreq.value);
    }
  }
}

}  // namespace Kvex::Nav
