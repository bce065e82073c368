#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

/// A benchmark here is a pair: what we do, and the least that anybody would have to do for it, measured in one binary.
namespace Bench {

inline constexpr int UsualRepetitions = 7;

/// Called in a loop of the benchmark library; the time of one call counts.
using Body = std::function<void()>;

/// Compares the time of one call of each. \param i_bound on ours / floor. \param i_enough seconds of ours that will do
/// whatever the floor needs; 0: none.
void Compare(const std::string& i_name, double i_bound, Body i_ours, Body i_floor, double i_enough = 0);

/// As above for bodies that need something prepared: it is made before the measurement and goes after it.
void ComparePrepared(const std::string& i_name, double i_bound, std::function<Body()> i_make_ours,
                     std::function<Body()> i_make_floor, double i_enough = 0);

/// A value that must stay below a limit: measured once per repetition. The limit stands in the column of the floor.
/// \param i_unit "s", "bytes" or a word for what is counted.
/// \param i_repetitions fewer for what takes minutes.
void Limit(const std::string& i_name, double i_limit, const std::string& i_unit, std::function<double()> i_measure,
           int i_repetitions = UsualRepetitions);

} // namespace Bench
