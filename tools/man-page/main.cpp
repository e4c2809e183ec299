// Writes shadex(1) from the program's own option table (run by the build).
#include <fstream>
#include <iostream>

#include "driver/man_page.h"
#include "driver/ombra_output.h"
#include "driver/option_set.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: shadex-man-page OUTPUT\n";
        return 2;
    }
    OmbraOutput output;
    OptionSet options(output);
    std::ofstream file(argv[1], std::ios::binary | std::ios::trunc);
    write_man_page(file, options);
    return file.flush() ? 0 : 1;
}
