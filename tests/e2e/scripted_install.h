// Back-ends for end-to-end runs: copies of the scripted plug-in placed beside
// an Install's shadex, each answering from its own scenario text (the format
// is described at the top of tests/plugin/scripted_backend.cpp).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "e2e/harness.h"
#include "plugin/scripted_files.h"

// Copies the plug-in to install/subdir/file_name ("graphics" or "opencl";
// the name must follow a driver pattern, e.g. libKoro-Nxx_r20p0-01rel0.so)
// and writes its scenario. Returns the copy's path.
std::string add_backend(const Install& install, const std::string& subdir, const std::string& file_name,
                        const std::string& scenario, ScriptedVariant variant = ScriptedVariant::Full);

// The calls that copy logged, one line each, in order.
std::vector<std::string> read_log(const Install& install, const std::string& subdir, const std::string& file_name);

// Every record a back-end handed out came back to it exactly once.
inline void expect_released_once(const std::vector<std::string>& log) { EXPECT_EQ(release_problems(log), ""); }

// A private shadex with scripted back-ends beside it and a directory for
// inputs; every run starts the logs afresh and checks that each record a
// back-end handed out came back to it exactly once.
class ScriptedShadex {
public:
    std::string add(const std::string& subdir, const std::string& name, const std::string& scenario,
                    ScriptedVariant variant = ScriptedVariant::Full);
    std::string write(const std::string& name, const std::string& content) const { return files.write(name, content); }
    RunResult run(const std::vector<std::string>& args);
    // Compile calls logged by the n-th library added.
    std::vector<std::string> compiles(size_t library = 0) const;

private:
    Install install;
    TempDir files;
    std::vector<std::string> libraries;
};
