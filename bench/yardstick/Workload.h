#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench/yardstick/Store.h"

namespace Veltrix::Yardstick {

/// Numbers of a result by which programs show that they did the same work.
using Check = std::map<std::string, double>;

/// What is timed: does the work once and returns a reader of its result, which is not timed.
using Run = std::function<std::function<Check()>()>;

/// Loads a workload's data and returns what is to be timed.
using Setup = std::function<Run(const Store&)>;

/// All workloads by name.
std::map<std::string, Setup> workloads();

/// The workloads of a family; each is defined in a source of its own.
void addLeastSquares(std::map<std::string, Setup>& all);
void addLogistic(std::map<std::string, Setup>& all);
void addDistances(std::map<std::string, Setup>& all);
void addNearestNeighbours(std::map<std::string, Setup>& all);
void addDirections(std::map<std::string, Setup>& all);
void addNaiveBayes(std::map<std::string, Setup>& all);
void addTrees(std::map<std::string, Setup>& all);
void addNetworks(std::map<std::string, Setup>& all);
void addKMeans(std::map<std::string, Setup>& all);
void addHierarchical(std::map<std::string, Setup>& all);
void addArima(std::map<std::string, Setup>& all);
void addRules(std::map<std::string, Setup>& all);
void addSamples(std::map<std::string, Setup>& all);
void addSmoothing(std::map<std::string, Setup>& all);
void addSingularValues(std::map<std::string, Setup>& all);
void addTexts(std::map<std::string, Setup>& all);

}  // namespace Veltrix::Yardstick
