#include "in_process_tools.h"

#include <LLVMSPIRVLib/LLVMSPIRVLib.h>
#include <llvm/Bitcode/BitcodeReader.h>
#include <llvm/IR/LLVMContext.h>
#include <llvm/IR/Module.h>
#include <llvm/Support/MemoryBuffer.h>
#include <llvm/Support/raw_ostream.h>

#include <fstream>
#include <map>
#include <string>

namespace reference {

namespace {

const std::map<std::string, SPIRV::VersionNumber> VERSIONS = {{"1.0", SPIRV::VersionNumber::SPIRV_1_0},
                                                              {"1.1", SPIRV::VersionNumber::SPIRV_1_1},
                                                              {"1.2", SPIRV::VersionNumber::SPIRV_1_2},
                                                              {"1.3", SPIRV::VersionNumber::SPIRV_1_3},
                                                              {"1.4", SPIRV::VersionNumber::SPIRV_1_4}};

}  // namespace

// Bitcode in, SPIR-V out: the translator's forward direction with the one
// option the back-end uses.
int run_translator(const std::vector<std::string>& command) {
    SPIRV::VersionNumber version = SPIRV::VersionNumber::MaximumVersion;
    std::string input, output;
    const std::string version_option = "--spirv-max-version=";
    for (size_t index = 1; index < command.size(); ++index) {
        const std::string& argument = command[index];
        if (argument.rfind(version_option, 0) == 0 && VERSIONS.count(argument.substr(version_option.size()))) {
            version = VERSIONS.at(argument.substr(version_option.size()));
        } else if (argument == "-o" && index + 1 < command.size()) {
            output = command[++index];
        } else if (!argument.empty() && argument[0] != '-' && input.empty()) {
            input = argument;
        } else {
            llvm::errs() << command[0] << ": unsupported argument '" << argument << "'\n";
            return 1;
        }
    }
    if (input.empty() || output.empty()) {
        llvm::errs() << command[0] << ": an input and -o are required\n";
        return 1;
    }

    llvm::LLVMContext context;
    llvm::ErrorOr<std::unique_ptr<llvm::MemoryBuffer>> buffer = llvm::MemoryBuffer::getFile(input);
    if (!buffer) {
        llvm::errs() << buffer.getError().message() << "\n";
        return 1;
    }
    llvm::Expected<std::unique_ptr<llvm::Module>> module =
        llvm::getOwningLazyBitcodeModule(std::move(*buffer), context);
    llvm::Error materialised = module ? (*module)->materializeAll() : module.takeError();
    if (materialised) {
        llvm::errs() << llvm::toString(std::move(materialised)) << "\n";
        return 1;
    }
    SPIRV::TranslatorOpts options(version);
    std::ofstream file(output, std::ios::binary);
    std::string error;
    if (!llvm::writeSpirv(module->get(), options, file, error)) {
        llvm::errs() << "Fails to save LLVM as SPIR-V: " << error << "\n";
        return 255;
    }
    return file.flush() ? 0 : 1;
}

}  // namespace reference
