// The output controller: TCLAP's output object for help, version and parse
// failures, owner of the report destination, printer of the version header
// (at most once per run) and keeper of the mutually exclusive option groups.
#pragma once

#include <fstream>
#include <iostream>
#include <ostream>
#include <string>
#include <vector>

#include <tclap/CmdLine.h>

#include "common/vocabulary.h"

class OmbraOutput : public TCLAP::StdOutput {
public:
    // Reports go to `out` unless an output file is opened; errors to `err`.
    explicit OmbraOutput(std::ostream& out = std::cout, std::ostream& err = std::cerr)
        : report_stream(&out), standard_out(&out), standard_err(&err) {}

    std::ostream& print_header(std::ostream& out);

    std::ostream& error();
    std::ostream& info();
    std::ostream& report(ReportFormat format);
    std::ostream& text_report() { return report(ReportFormat::Text); }
    std::ostream& structured_report() { return *report_stream; }

    void set_output_stream(std::ostream& stream) { report_stream = &stream; }
    bool open_out_file(const std::string& name);

    void usage(TCLAP::CmdLineInterface& cmd) override;
    void version(TCLAP::CmdLineInterface& cmd) override;
    void failure(TCLAP::CmdLineInterface& cmd, TCLAP::ArgException& e) override;

    void set_exclusive_arg(unsigned group, TCLAP::Arg& arg);
    bool is_exclusive_arg(const TCLAP::Arg& arg) const;
    static bool is_exclusive_arg(const std::vector<TCLAP::Arg*>& group, const TCLAP::Arg& arg);
    void validate_exclusive_args() const;

    // Usage text lists options in declaration order, which TCLAP does not keep.
    void set_declaration_order(std::vector<TCLAP::Arg*> order) { declared = std::move(order); }
    void print_brief_usage(TCLAP::CmdLineInterface& cmd, std::ostream& out) const;
    void print_long_usage(TCLAP::CmdLineInterface& cmd, std::ostream& out) const;

private:
    std::vector<TCLAP::Arg*> usage_order(TCLAP::CmdLineInterface& cmd) const;
    void print_stage_block(std::ostream& out) const;

    bool header_printed = false;
    std::ostream* report_stream;
    std::ostream* standard_out;
    std::ostream* standard_err;
    std::ofstream out_file;
    std::string out_file_name;
    std::vector<std::vector<TCLAP::Arg*>> exclusive_groups;
    std::vector<TCLAP::Arg*> declared;
};
