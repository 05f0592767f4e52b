// The commands of brennik-status. Each prints to standard output and returns the exit status.
#pragma once

#include "judge/verdict.h"
#include "main/options.h"

namespace status {

int ShowVerdict(const Options& options);   // no command; also --monitor, --json, --metrics
int CheckConfig(const Options& options);   // config [DIR]
int ShowLog(const Options& options);       // log
int Explain(const Options& options);       // explain CODE|TEXT
int ShowFile(const Options& options);      // file NAME
int ShowGaps(const Options& options);      // gaps
int WaitAccepted(const Options& options);  // wait --accepted
int MakeReport(const Options& options);    // report FILE.tar.gz
int ShowVersion(const Options& options);   // version

// Writes out what was printed. Returns the exit status, or 3 instead of 0, with a message on
// standard error, when standard output could not be written. A reader that has left is no error.
int EndOfOutput(int exitStatus);

// The thresholds that the options ask for.
Thresholds ThresholdsOf(const Options& options);

}  // namespace status
