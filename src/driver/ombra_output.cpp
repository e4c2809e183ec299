#include "driver/ombra_output.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "common/platform.h"
#include "common/product.h"
#include "report/format.h"

namespace {

constexpr int USAGE_WIDTH = 75;

// The stage switches form group 0 together with these two job switches,
// which the long usage lists on their own.
bool is_job_switch(const TCLAP::Arg& arg) { return arg.getName() == "list" || arg.getName() == "info"; }

std::string display_id(const TCLAP::Arg& arg) {
    if (!arg.getFlag().empty()) return "-" + arg.getFlag() + " (--" + arg.getName() + ")";
    return "--" + arg.getName();
}

// The short form without TCLAP's optional brackets, for alternative groups.
std::string bare_short_id(const TCLAP::Arg& arg) {
    std::string id = arg.shortID();
    if (id.size() >= 2 && id.front() == '[' && id.back() == ']') id = id.substr(1, id.size() - 2);
    return id;
}

}  // namespace

std::ostream& OmbraOutput::print_header(std::ostream& out) {
    out << product::NAME << " v" << product::VERSION << " (Build " << product::BUILD << ")" << std::endl;
    out << product::RIGHTS << std::endl;
    out << std::endl;
    header_printed = true;
    return out;
}

std::ostream& OmbraOutput::error() {
    if (!header_printed) print_header(*standard_err);
    return *standard_err;
}

std::ostream& OmbraOutput::info() {
    if (!header_printed) print_header(*report_stream);
    return *report_stream;
}

std::ostream& OmbraOutput::report(ReportFormat format) {
    // A JSON document must stay parseable: it never carries the header.
    if (format == ReportFormat::Text && !header_printed) print_header(*report_stream);
    return *report_stream;
}

bool OmbraOutput::open_out_file(const std::string& name) {
    out_file_name = name;
    out_file.open(name, std::ios::out | std::ios::trunc | std::ios::binary);
    if (!out_file.is_open() || out_file.fail()) return false;
    report_stream = &out_file;
    return true;
}

void OmbraOutput::version(TCLAP::CmdLineInterface&) {
    if (!header_printed) print_header(*report_stream);
}

void OmbraOutput::usage(TCLAP::CmdLineInterface& cmd) {
    std::ostream& out = info();
    out << "Usage: " << std::endl << std::endl;
    print_brief_usage(cmd, out);
    out << std::endl;
    out << "Where: " << std::endl << std::endl;
    print_long_usage(cmd, out);
}

void OmbraOutput::failure(TCLAP::CmdLineInterface& cmd, TCLAP::ArgException& e) {
    std::ostream& err = error();
    err << "ERROR: " << e.argId() << std::endl;
    err << "   " << e.error() << std::endl << std::endl;
    err << "Usage: " << std::endl << std::endl;
    print_brief_usage(cmd, err);
    err << std::endl;
    err << "Run " << cmd.getProgramName() << " --help for more detail." << std::endl;

    // A failed run leaves no partial report behind; a device or pipe named
    // as the output (/dev/null) holds no report and stays.
    if (out_file.is_open()) {
        out_file.close();
        report_stream = standard_out;
        if (does_file_exist(out_file_name)) std::remove(out_file_name.c_str());
    }
    throw TCLAP::ExitException(2);
}

void OmbraOutput::set_exclusive_arg(unsigned group, TCLAP::Arg& arg) {
    if (exclusive_groups.size() <= group) exclusive_groups.resize(group + 1);
    exclusive_groups[group].push_back(&arg);
}

bool OmbraOutput::is_exclusive_arg(const std::vector<TCLAP::Arg*>& group, const TCLAP::Arg& arg) {
    return std::find(group.begin(), group.end(), &arg) != group.end();
}

bool OmbraOutput::is_exclusive_arg(const TCLAP::Arg& arg) const {
    for (const auto& group : exclusive_groups)
        if (is_exclusive_arg(group, arg)) return true;
    return false;
}

void OmbraOutput::validate_exclusive_args() const {
    for (const auto& group : exclusive_groups) {
        std::vector<std::string> ids;
        for (const TCLAP::Arg* arg : group)
            if (arg->isSet()) ids.push_back(display_id(*arg));
        if (ids.size() >= 2)
            throw TCLAP::ArgParseException("Arguments " + pretty_print_list(ids, ", ", "and ") +
                                           " are mutually exclusive.");
    }
}

std::vector<TCLAP::Arg*> OmbraOutput::usage_order(TCLAP::CmdLineInterface& cmd) const {
    std::vector<TCLAP::Arg*> order = declared;
    // TCLAP's own switches (help, version, ignore rest) follow ours.
    for (TCLAP::Arg* arg : cmd.getArgList())
        if (std::find(order.begin(), order.end(), arg) == order.end()) order.push_back(arg);
    return order;
}

void OmbraOutput::print_brief_usage(TCLAP::CmdLineInterface& cmd, std::ostream& out) const {
    std::string text = cmd.getProgramName();
    std::vector<const std::vector<TCLAP::Arg*>*> printed_groups;
    for (TCLAP::Arg* arg : usage_order(cmd)) {
        const std::vector<TCLAP::Arg*>* group = nullptr;
        for (const auto& candidate : exclusive_groups)
            if (is_exclusive_arg(candidate, *arg)) group = &candidate;
        if (!group) {
            text += " " + arg->shortID();
            continue;
        }
        if (std::find(printed_groups.begin(), printed_groups.end(), group) != printed_groups.end()) continue;
        printed_groups.push_back(group);
        std::string alternatives;
        for (const TCLAP::Arg* member : *group)
            alternatives += (alternatives.empty() ? "" : "|") + bare_short_id(*member);
        text += " {" + alternatives + "}";
    }
    int second_line_offset = std::min<int>(static_cast<int>(cmd.getProgramName().size()) + 2, USAGE_WIDTH / 2);
    spacePrint(out, text, USAGE_WIDTH, 3, second_line_offset);
}

void OmbraOutput::print_stage_block(std::ostream& out) const {
    const std::vector<TCLAP::Arg*>& stages = exclusive_groups.at(0);
    bool first = true;
    for (const TCLAP::Arg* arg : stages) {
        if (is_job_switch(*arg)) continue;
        if (!first) spacePrint(out, "-- OR --", USAGE_WIDTH, 9, 0);
        first = false;
        spacePrint(out, arg->longID(), USAGE_WIDTH, 3, 3);
        spacePrint(out, arg->getDescription(), USAGE_WIDTH, 5, 0);
    }
    spacePrint(out, "-- OR --", USAGE_WIDTH, 9, 0);
    spacePrint(out, "No shader type flag", USAGE_WIDTH, 3, 3);
    spacePrint(out, "Infer shader type from input file extensions, where:", USAGE_WIDTH, 5, 0);
    size_t column = 0;
    for (const auto& row : FILE_EXT_TYPES) column = std::max(column, row.extension.size());
    for (const auto& row : FILE_EXT_TYPES) {
        std::string extension = row.extension + std::string(column - row.extension.size(), ' ');
        spacePrint(out, extension + " - " + row.description, USAGE_WIDTH, 7, 0);
    }
    out << std::endl;
}

void OmbraOutput::print_long_usage(TCLAP::CmdLineInterface& cmd, std::ostream& out) const {
    bool stage_block_printed = false;
    for (TCLAP::Arg* arg : usage_order(cmd)) {
        bool stage_switch =
            !exclusive_groups.empty() && is_exclusive_arg(exclusive_groups[0], *arg) && !is_job_switch(*arg);
        if (stage_switch) {
            if (!stage_block_printed) print_stage_block(out);
            stage_block_printed = true;
            continue;
        }
        spacePrint(out, arg->longID(), USAGE_WIDTH, 3, 3);
        spacePrint(out, arg->getDescription(), USAGE_WIDTH, 5, 0);
        out << std::endl;
    }
}
