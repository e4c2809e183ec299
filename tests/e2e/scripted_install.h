// A private shadex with copies of the scripted plug-in beside it, each
// answering from its own scenario text (the format is described at the top
// of tests/plugin/scripted_backend.cpp).
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "e2e/harness.h"
#include "plugin/scripted_files.h"

// Inputs go in a directory of their own, where shadex runs; every run starts
// the logs afresh and checks that each record a back-end handed out came
// back to it exactly once.
class ScriptedShadex {
public:
    std::string add(const std::string& subdir, const std::string& name, const std::string& scenario,
                    ScriptedVariant variant = ScriptedVariant::Full);
    std::string write(const std::string& name, const std::string& content) const { return files.write(name, content); }
    std::string file(const std::string& name) const { return files.file(name); }
    const std::string& dir() const { return install.dir(); }  // where shadex lies
    RunResult run(const std::vector<std::string>& args);
    // Compile calls logged by the n-th library added.
    std::vector<std::string> compiles(size_t library = 0) const;
    std::map<std::string, std::string> env;  // set for every run

private:
    Install install;
    TempDir files;
    std::vector<std::string> libraries;
};
