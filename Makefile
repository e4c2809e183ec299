# shadex: build, test, run and install behind one Makefile.
BUILD_DIR ?= build
PREFIX    ?= /usr/local
BUILD_TYPE ?= RelWithDebInfo
EXAMPLE   ?= examples/lighting.frag
CMAKE_FLAGS ?=

# Debian packages the build and the tests need.
DEB_PACKAGES := cmake ninja-build g++ make pkg-config libtclap-dev nlohmann-json3-dev \
                googletest libgtest-dev dpkg-dev python3 spirv-tools spirv-headers clang-14 llvm-spirv-14 \
                libclang-rt-14-dev libclang-14-dev libclang-cpp14-dev llvm-14-dev libllvmspirvlib-14-dev \
                libjemalloc-dev
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps build test run sweep install package clean bench fuzz fuzz-replay check-asan format

all: build

deps:
	@missing=$$(for p in $(DEB_PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q '^install ok installed' || echo $$p; \
	  done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing:" $$missing; \
	  $(SUDO) apt-get update && DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y $$missing; \
	fi

$(BUILD_DIR)/build.ninja:
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS)

build: $(BUILD_DIR)/build.ninja
	cmake --build $(BUILD_DIR)

test: deps
	$(MAKE) build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j2

run: deps
	$(MAKE) build
	$(BUILD_DIR)/bin/shadex $(EXAMPLE)

# Every file of a shader corpus (laid out like ../shared/corpus, with its
# MANIFEST.tsv) through shadex on one core per architecture; tools/sweep.sh
# says what runs where and what counts as unexpected.
CORPUS ?= ../shared/corpus
sweep: deps
	$(MAKE) build
	tools/sweep.sh $(CORPUS) $(BUILD_DIR)/bin/shadex

# Medians of whole-process runs on this machine (bench/README.md); not a test.
bench: deps
	$(MAKE) build
	bench/run.py --shadex $(BUILD_DIR)/bin/shadex --corpus $(CORPUS)

# Coverage-guided fuzzing with clang's libFuzzer: every target for SECONDS
# seconds (tools/fuzz.sh); fuzz-replay only replays the seed corpora.
SECONDS ?= 60
fuzz: deps
	tools/fuzz.sh run $(SECONDS)
fuzz-replay: deps
	tools/fuzz.sh replay

# The whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer.
check-asan: deps
	tools/check-asan.sh

install: build
	cmake --install $(BUILD_DIR) --prefix $(abspath $(PREFIX))

# The Debian package (CPack): $(BUILD_DIR)/shadex_<version>_amd64.deb.
package: build
	cd $(BUILD_DIR) && cpack -G DEB

# The code's style (.clang-format) applied to every C++ file of the tree.
format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR)
