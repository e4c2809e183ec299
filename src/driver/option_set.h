// Every command-line option, declared in usage order on one TCLAP command line.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include <tclap/CmdLine.h>

#include "common/vocabulary.h"
#include "driver/ombra_output.h"

// --format words; any other word is a parse error.
std::istream& operator>>(std::istream& in, ReportFormat& format);
std::ostream& operator<<(std::ostream& out, ReportFormat format);

extern const std::vector<std::string> VALID_CL_VERSIONS;
// "1.1, 1.2, 2.0, or 3.0"
std::string valid_cl_versions_text();

// Input file names. A word starting with '-' (other than "-" for standard
// input) is taken for a mistyped option unless it follows "--".
class InputFilesArg : public TCLAP::UnlabeledMultiArg<std::string> {
public:
    using TCLAP::UnlabeledMultiArg<std::string>::UnlabeledMultiArg;
    bool processArg(int* i, std::vector<std::string>& args) override;
};

class OptionSet {
public:
    explicit OptionSet(OmbraOutput& output);
    OptionSet(const OptionSet&) = delete;
    OptionSet& operator=(const OptionSet&) = delete;

    void parse(int argc, const char* const* argv);

    // First stage switch set, in the fixed precedence order; None if none is.
    SourceType explicit_stage() const;

    // Every option in usage order.
    const std::vector<TCLAP::Arg*>& declared() const { return declaration_order; }

    TCLAP::CmdLine cmd;
    TCLAP::SwitchArg opengles;
    TCLAP::SwitchArg vulkan;
    TCLAP::ValueArg<std::string> opencl;
    TCLAP::SwitchArg vertex;
    TCLAP::SwitchArg tess_control;
    TCLAP::SwitchArg tess_evaluation;
    TCLAP::SwitchArg geometry;
    TCLAP::SwitchArg fragment;
    TCLAP::SwitchArg compute;
    TCLAP::SwitchArg kernel;
    TCLAP::SwitchArg ray_generation;
    TCLAP::SwitchArg ray_any_hit;
    TCLAP::SwitchArg ray_closest_hit;
    TCLAP::SwitchArg ray_intersection;
    TCLAP::SwitchArg ray_miss;
    TCLAP::SwitchArg ray_callable;
    TCLAP::SwitchArg spirv;
    TCLAP::SwitchArg list;
    TCLAP::SwitchArg info;
    TCLAP::ValueArg<std::string> output;
    InputFilesArg input_files;
    TCLAP::MultiArg<std::string> defines;
    TCLAP::MultiArg<std::string> sconsts;
    TCLAP::ValueArg<std::string> core;
    TCLAP::ValueArg<std::string> name;
    TCLAP::SwitchArg detailed;
    std::vector<ReportFormat> format_values;
    TCLAP::ValuesConstraint<ReportFormat> format_constraint;
    TCLAP::ValueArg<ReportFormat> format;
    TCLAP::MultiArg<std::string> include_dirs;
    TCLAP::SwitchArg annotate;

private:
    std::vector<TCLAP::Arg*> declaration_order;
};
