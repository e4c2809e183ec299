#include "in_process_tools.h"

#include <clang/Basic/Diagnostic.h>
#include <clang/Basic/DiagnosticOptions.h>
#include <clang/Driver/Compilation.h>
#include <clang/Driver/Driver.h>
#include <clang/Frontend/CompilerInstance.h>
#include <clang/Frontend/CompilerInvocation.h>
#include <clang/Frontend/FrontendDiagnostic.h>
#include <clang/Frontend/TextDiagnosticBuffer.h>
#include <clang/Frontend/TextDiagnosticPrinter.h>
#include <clang/Frontend/Utils.h>
#include <clang/FrontendTool/Utils.h>
#include <llvm/ADT/SmallVector.h>
#include <llvm/Support/CrashRecoveryContext.h>
#include <llvm/Support/ErrorHandling.h>
#include <llvm/Support/FileSystem.h>
#include <llvm/Support/Host.h>
#include <llvm/Support/Path.h>
#include <llvm/Support/Signals.h>
#include <llvm/Support/TargetSelect.h>
#include <llvm/Support/raw_ostream.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "child_process.h"

namespace reference {

namespace {

// Where the installed clang lives decides its resource directory (the
// OpenCL headers), exactly as for the program itself.
std::string clang_executable(const std::string& name) {
    std::string found = find_executable(name);
    if (found.empty()) return "";
    llvm::SmallString<256> real;
    if (llvm::sys::fs::real_path(found, real)) return found;
    return std::string(real.str());
}

void fatal_error(void* diagnostics, const char* message, bool) {
    static_cast<clang::DiagnosticsEngine*>(diagnostics)->Report(clang::diag::err_fe_error_backend) << message;
    llvm::sys::RunInterruptHandlers();
    llvm::errs().flush();
    std::_Exit(1);
}

// One frontend job, as the compiler's own -cc1 mode runs it, except that the
// job's memory is freed: this process compiles many programs.
int run_frontend_job(llvm::SmallVectorImpl<const char*>& arguments) {
    const char* executable = arguments[0];
    if (arguments.size() < 2 || llvm::StringRef(arguments[1]) != "-cc1") {
        llvm::errs() << "unsupported job: " << (arguments.size() < 2 ? "" : arguments[1]) << "\n";
        return 1;
    }
    llvm::SmallVector<const char*, 64> job;
    for (size_t index = 2; index < arguments.size(); ++index)
        if (llvm::StringRef(arguments[index]) != "-disable-free") job.push_back(arguments[index]);

    auto compiler = std::make_unique<clang::CompilerInstance>();
    llvm::IntrusiveRefCntPtr<clang::DiagnosticIDs> ids(new clang::DiagnosticIDs());
    llvm::IntrusiveRefCntPtr<clang::DiagnosticOptions> options = new clang::DiagnosticOptions();
    auto* buffered = new clang::TextDiagnosticBuffer;
    clang::DiagnosticsEngine early(ids, &*options, buffered);
    bool ok = clang::CompilerInvocation::CreateFromArgs(compiler->getInvocation(), job, early, executable);
    compiler->createDiagnostics();
    if (!compiler->hasDiagnostics()) return 1;
    llvm::install_fatal_error_handler(fatal_error, &compiler->getDiagnostics());
    buffered->FlushDiagnostics(compiler->getDiagnostics());
    if (ok) ok = clang::ExecuteCompilerInvocation(compiler.get());
    if (!ok) compiler->getDiagnosticClient().finish();
    llvm::remove_fatal_error_handler();
    return ok ? 0 : 1;
}

}  // namespace

int run_clang(const std::vector<std::string>& command) {
    static const bool targets_ready = [] {
        llvm::InitializeAllTargets();
        llvm::InitializeAllTargetMCs();
        llvm::InitializeAllAsmPrinters();
        llvm::InitializeAllAsmParsers();
        // A crash inside the compiler becomes its failure, as in its program.
        llvm::CrashRecoveryContext::Enable();
        return true;
    }();
    (void)targets_ready;

    const std::string executable = clang_executable(command.at(0));
    if (executable.empty()) {
        llvm::errs() << command[0] << " was not found\n";
        return 127;
    }
    llvm::SmallVector<const char*, 32> arguments;
    arguments.push_back(executable.c_str());
    for (size_t index = 1; index < command.size(); ++index) arguments.push_back(command[index].c_str());

    llvm::IntrusiveRefCntPtr<clang::DiagnosticOptions> options = clang::CreateAndPopulateDiagOpts(arguments);
    auto* printer = new clang::TextDiagnosticPrinter(llvm::errs(), &*options);
    printer->setPrefix(std::string(llvm::sys::path::stem(executable)));
    llvm::IntrusiveRefCntPtr<clang::DiagnosticIDs> ids(new clang::DiagnosticIDs());
    clang::DiagnosticsEngine diagnostics(ids, &*options, printer);
    clang::ProcessWarningOptions(diagnostics, *options, false);

    clang::driver::Driver driver(executable, llvm::sys::getDefaultTargetTriple(), diagnostics);
    driver.CC1Main = run_frontend_job;
    std::unique_ptr<clang::driver::Compilation> compilation(driver.BuildCompilation(arguments));
    int status = 1;
    if (compilation && !compilation->containsError()) {
        llvm::SmallVector<std::pair<int, const clang::driver::Command*>, 4> failing;
        status = driver.ExecuteCompilation(*compilation, failing);
        for (const auto& [failure, job] : failing) {
            (void)job;
            if (status == 0) status = failure;
        }
    }
    diagnostics.getClient()->finish();
    llvm::errs().flush();
    return status;
}

}  // namespace reference
