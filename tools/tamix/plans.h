// How the operators' records are set up from a request and its pictures, and what comes back besides pictures.
#pragma once

#include <string>

#include "tools/tamix/job.h"

namespace tamix::tool {

// Each sets up a job's outputs and whatever else its operator reads. Throws std::runtime_error for settings that are missing.
void planBilinearResize(Job& job);
void planBorder(Job& job);
void planCompositeMorphology(Job& job);
void planConcatenation(Job& job);
void planCount(Job& job);
void planCut(Job& job);
void planElement(Job& job);
void planFusion(Job& job);
void planGaussian(Job& job);
void planHistogram(Job& job);
void planMean(Job& job);
void planMerge(Job& job);
void planMorphology(Job& job);
void planNegation(Job& job);
void planNormalization(Job& job);
void planPerspectiveSolve(Job& job);
void planPerspectiveWarp(Job& job);
void planProduct(Job& job);
void planRemap(Job& job);
void planResize(Job& job);
void planRotation(Job& job);
void planSame(Job& job);
void planSplit(Job& job);
void planStatistics(Job& job);
void planThreshold(Job& job);
void planToColor(Job& job);
void planToFourChannels(Job& job);
void planToGray(Job& job);
void planToLab(Job& job);
void planToYUV(Job& job);
void planTranspose(Job& job);
void planTypeConversion(Job& job);

// Each tells what the operator found out, as text or JSON.
std::string reportCount(Job& job);
std::string reportElement(Job& job);
std::string reportHistogram(Job& job);
std::string reportMatrix(Job& job);
std::string reportStatistics(Job& job);
std::string reportThreshold(Job& job);

}  // namespace tamix::tool
