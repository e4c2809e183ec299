#include "driver/man_page.h"

#include <string>

#include "common/product.h"
#include "common/vocabulary.h"

namespace {

// Text as troff shows it: hyphens stay hyphens, backslashes stay themselves,
// and no line starts with a control character.
std::string roff(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    if (!escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'')) escaped = "\\&" + escaped;
    return escaped;
}

// "-o, --output FILE" with the names in bold and the value in italics.
std::string option_heading(const TCLAP::Arg& arg) {
    std::string value;
    const std::string id = arg.shortID();
    const size_t open = id.find('<'), close = id.rfind('>');
    if (open != std::string::npos && close != std::string::npos && close > open)
        value = " \\fI" + roff(id.substr(open + 1, close - open - 1)) + "\\fR";
    std::string heading;
    if (!arg.getFlag().empty()) heading += "\\fB\\-" + roff(arg.getFlag()) + "\\fR, ";
    heading += "\\fB\\-\\-" + roff(arg.getName()) + "\\fR" + value;
    return heading;
}

const char* const DESCRIPTION = R"(.SH DESCRIPTION
.B shadex
compiles a shader or kernel for a Koro GPU core and reports what it costs
there: work and uniform registers and thread occupancy, stack use and
spilling, the share of 16-bit arithmetic, cycles per pipeline on the
shortest and longest paths and in total with the pipeline that bounds them,
shader properties and attribute streams, as text or JSON. It takes OpenGL ES
GLSL, Vulkan GLSL, SPIR-V modules and OpenCL C. It also lists the cores
(\fB\-\-list\fR) and prints one core's API capabilities (\fB\-\-info\fR).
.PP
The stage comes from a stage switch or from the input file's extension (see
FILE EXTENSIONS); the API from the input unless \fB\-\-opengles\fR,
\fB\-\-vulkan\fR or \fB\-\-opencl\fR says otherwise. Several source files
are concatenated in the order given.
.PP
With \fB\-\-annotate\fR each variant's costs are also given per source line,
in the file and at the line the user knows it by.
)";

const char* const REST = R"(.SH EXIT STATUS
.TP
.B 0
Success (also for \fB\-\-list\fR, \fB\-\-info\fR, \fB\-\-help\fR and \fB\-\-version\fR).
.TP
.B 1
The compilation finished with error messages; they are in the report.
.TP
.B 2
A usage error (printed with the brief usage) or a run\-time error.
.SH EXAMPLES
.nf
shadex examples/lighting.frag
shadex \-c Koro\-N68 \-d examples/lighting.frag
shadex \-\-vulkan \-f shader.glsl \-D USE_FOG=1
shadex \-\-vulkan \-I shaders/include pbr.frag
shadex \-\-annotate examples/lighting.frag
shadex shader.frag.spv \-S 3=true \-S 4=\-12
shadex \-n saxpy examples/saxpy.cl
cat a.frag | shadex \-f \-
shadex \-\-format json \-o report.json a.frag
shadex \-\-list
shadex \-\-info \-c Koro\-N68
.fi
.SH FILES
.TP
.I graphics/, opencl/
Beside the executable: the back\-end libraries for OpenGL ES and Vulkan, and
for OpenCL. A link to the executable (such as /usr/bin/shadex) finds them
beside the file it links to.
.TP
.I external/glslang
Beside the executable: the packaged validator that converts Vulkan GLSL to
SPIR\-V.
.SH ENVIRONMENT
.TP
.B TMP
Where the private temporary directory of a compile is made (default
/tmp); it is removed when the compile ends.
.SH SEE ALSO
.BR shadex\-suite (1)
)";

}  // namespace

void write_man_page(std::ostream& out, const OptionSet& options) {
    out << ".TH SHADEX 1 \"\" \"shadex " << product::VERSION << "\" \"User Commands\"\n"
        << ".SH NAME\nshadex \\- offline shader compiler and static performance analyser for Koro GPU cores\n"
        << ".SH SYNOPSIS\n.B shadex\n[\\fIOPTION\\fR]... \\fIFILE\\fR...\n.br\n.B shadex \\-\\-list\n.br\n"
        << ".B shadex \\-\\-info \\-c \\fICORE\\fR\n"
        << DESCRIPTION << ".SH OPTIONS\n";
    for (const TCLAP::Arg* arg : options.declared()) {
        out << ".TP\n";
        if (arg->getName() == "input-files")
            out << "\\fIFILE\\fR...\n";
        else
            out << option_heading(*arg) << "\n";
        out << roff(arg->getDescription()) << "\n";
    }
    out << ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint every option and the file\\-extension table, then exit.\n"
        << ".TP\n\\fB\\-\\-version\\fR\nPrint the version, then exit.\n";
    out << ".SH FILE EXTENSIONS\nWithout a stage switch the stage comes from the input file's name:\n.TS\nl l.\n";
    for (const FileExtensionInfo& row : FILE_EXT_TYPES)
        out << roff(row.extension) << "\t" << roff(row.description) << "\n";
    out << ".TE\n" << REST;
}
