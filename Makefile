# Entry points for people and CI. CMake does the real work; this file only installs what is
# missing, configures each build tree once and runs the result.
#
#   make run     build ervom and run it on the sample capture (the main job)
#   make test    build everything with warnings as errors and run the test suite
#   make asan    the test suite built with AddressSanitizer and UBSan
#   make tsan    the messaging tests, stress test included, built with ThreadSanitizer
#   make armhf   cross build for the 32-bit ARM controller, tests under qemu-arm
#   make bench   Release build of the benchmarks, with repetitions
#   make perf-baseline    accept the instructions per conversion counted now (after reviewing them)
#   make fuzz    the libFuzzer targets (clang, ASan and UBSan), each for FUZZ_SECONDS
#   make install          install into PREFIX (default /usr/local; DESTDIR works as usual)
#   make package          the Debian packages for this machine (amd64), checked
#   make package-armhf    the same for the 32-bit ARM controller, from the cross build
#   make abi-update       accept a change of the exported symbols (after reviewing it)
#   make clean   remove every build tree
#
# Any variable below can be overridden on the command line, e.g. `make test BUILD=/tmp/b`.

SHELL := /bin/bash
.SHELLFLAGS := -eu -o pipefail -c
.DEFAULT_GOAL := run
MAKEFLAGS += --no-print-directory

JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CTEST_JOBS ?= 2
# Per test case. Unit tests finish in well under a second; a hung messenger test should not eat
# the CI budget. Emulated and sanitized binaries get more headroom.
CTEST_TIMEOUT ?= 60
CTEST_TIMEOUT_SLOW ?= 180

BUILD ?= build
BUILD_ASAN ?= build-asan
BUILD_TSAN ?= build-tsan
BUILD_ARMHF ?= build-armhf
BUILD_RELEASE ?= build-release
BUILD_FUZZ ?= build-fuzz

# `make run` and `make test` share one tree, so switching between them never rebuilds.
HOST_ARGS := -DCMAKE_BUILD_TYPE=RelWithDebInfo -DERV_WERROR=ON
# Unoptimised: compiles faster, and the sanitizers see every access as written.
ASAN_ARGS := -DCMAKE_BUILD_TYPE=Debug -DERV_SANITIZE=address,undefined \
  -DERV_BUILD_BENCHMARKS=OFF
TSAN_ARGS := -DCMAKE_BUILD_TYPE=Debug -DERV_SANITIZE=thread -DERV_BUILD_BENCHMARKS=OFF -DERV_BUILD_TOOLS=OFF
# The code whose threads meet: the engine, the adapter and the simulated device stack.
TSAN_TARGETS := DscAsyncRequestMessengerTest RequestMessengerDeviceStackTest
ARMHF_ARGS := -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DERV_BUILD_BENCHMARKS=OFF -DERV_BUILD_TOOLS=OFF
# Optimised, as libFuzzer wants for its rate of executions; the library and the stand-ins are
# instrumented for coverage too, so the fuzzer steers by what happens inside them.
FUZZ_ARGS := -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DERV_SANITIZE=address,undefined \
  -DERV_FUZZ_ENGINE=libfuzzer -DERV_BUILD_TESTS=OFF -DERV_BUILD_TOOLS=OFF -DERV_BUILD_BENCHMARKS=OFF
# Per target; CI passes less.
FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?=
RELEASE_ARGS := -DCMAKE_BUILD_TYPE=Release -DERV_BUILD_TESTS=OFF -DERV_BUILD_TOOLS=OFF

# What `make run` builds and runs: ervom on the shipped capture (which holds refused telegrams on
# purpose, hence exit status 1 is expected), the start of the DPT table and one object id.
ERVOM := $(BUILD)/tools/ervom
RUN_TARGET ?= ervom
RUN_COMMAND ?= $(ERVOM) decode --batch tools/samples/capture.txt || [ $$? -eq 1 ]; \
  echo; $(ERVOM) dpts | head; \
  echo; $(ERVOM) id explain 100101

PREFIX ?= /usr/local
VERSION := $(shell sed -n 's/^project.ErvObjectModel VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
# The libraries whose exported symbols are the ABI, as built in a tree.
ABI_LIBS = $(1)/ErvObjectModel/libervobjectmodel.so $(1)/Platform/ErvLogging/libervplatform-logging.so \
  $(1)/Platform/AvoValue/libervplatform-avovalue.so $(1)/Platform/KnxStack/libervplatform-knxstack.so \
  $(1)/Platform/SimulatedDeviceStack/libervplatform-simulateddevicestack.so

BENCH_ARGS ?= --benchmark_repetitions=5 --benchmark_report_aggregates_only=true

# The helper compiles with -fno-sanitize-recover=all, so a finding ends the test process and fails
# the test; these options make sure nothing overrides that and that UBSan reports carry a stack.
ASAN_OPTIONS := detect_leaks=1:halt_on_error=1:abort_on_error=0:strict_string_checks=1:detect_stack_use_after_return=1:check_initialization_order=1:print_summary=1
UBSAN_OPTIONS := print_stacktrace=1:halt_on_error=1:report_error_type=1
# The first report ends the test process, so any data race or lock-order inversion fails the run.
TSAN_OPTIONS := halt_on_error=1:second_deadlock_stack=1

# $(call configure,<tree>,<cmake arguments>): configure only if the tree is new or was configured
# with other arguments; CMake itself reruns when a CMakeLists.txt changes.
define configure
	@want='$(strip $(2))'; stamp='$(1)/.erv-configure-args'; \
	if [ ! -f '$(1)/CMakeCache.txt' ] || [ "$$(cat "$$stamp" 2>/dev/null)" != "$$want" ]; then \
	  echo "== configuring $(1): $$want"; \
	  rm -f "$$stamp"; \
	  cmake -S . -B '$(1)' --log-level=WARNING $$want; \
	  printf '%s\n' "$$want" >"$$stamp"; \
	fi
endef

.PHONY: run test asan tsan armhf bench perf-baseline fuzz clean deps deps-armhf deps-fuzz configure install package package-armhf abi-update

deps:
	@scripts/install-deps.sh host

deps-armhf:
	@scripts/install-deps.sh armhf

deps-fuzz:
	@scripts/install-deps.sh fuzz

configure: deps
	$(call configure,$(BUILD),$(HOST_ARGS))

run: configure
	cmake --build $(BUILD) --parallel $(JOBS) --target $(RUN_TARGET)
	$(RUN_COMMAND)

test: configure
	cmake --build $(BUILD) --parallel $(JOBS)
	ctest --test-dir $(BUILD) --output-on-failure --no-tests=error -j$(CTEST_JOBS) --timeout $(CTEST_TIMEOUT)

asan: export ASAN_OPTIONS := $(ASAN_OPTIONS)
asan: export UBSAN_OPTIONS := $(UBSAN_OPTIONS)
asan: deps
	$(call configure,$(BUILD_ASAN),$(ASAN_ARGS))
	cmake --build $(BUILD_ASAN) --parallel $(JOBS)
	ctest --test-dir $(BUILD_ASAN) --output-on-failure --no-tests=error -j$(CTEST_JOBS) --timeout $(CTEST_TIMEOUT_SLOW)

tsan: export TSAN_OPTIONS := $(TSAN_OPTIONS)
tsan: deps
	$(call configure,$(BUILD_TSAN),$(TSAN_ARGS))
	cmake --build $(BUILD_TSAN) --parallel $(JOBS) --target $(TSAN_TARGETS)
	ctest --test-dir $(BUILD_TSAN) -L messaging --output-on-failure --no-tests=error -j$(CTEST_JOBS) \
	  --timeout $(CTEST_TIMEOUT_SLOW)

armhf: deps-armhf
	$(call configure,$(BUILD_ARMHF),$(ARMHF_ARGS))
	cmake --build $(BUILD_ARMHF) --parallel $(JOBS)
	@# qemu-arm finds the armhf loader and libraries through multiarch; a -L prefix breaks it.
	env -u QEMU_LD_PREFIX ctest --test-dir $(BUILD_ARMHF) --output-on-failure --no-tests=error -j$(CTEST_JOBS) --timeout $(CTEST_TIMEOUT_SLOW)

install: configure
	cmake --build $(BUILD) --parallel $(JOBS)
	cmake --install $(BUILD) --prefix $(PREFIX)

package: configure
	cmake --build $(BUILD) --parallel $(JOBS)
	cd $(BUILD) && cpack -G DEB
	scripts/check-packages.sh $(BUILD)/packages amd64 $(VERSION)

package-armhf: deps-armhf
	$(call configure,$(BUILD_ARMHF),$(ARMHF_ARGS))
	cmake --build $(BUILD_ARMHF) --parallel $(JOBS)
	cd $(BUILD_ARMHF) && cpack -G DEB
	scripts/check-packages.sh $(BUILD_ARMHF)/packages armhf $(VERSION)

abi-update: configure
	cmake --build $(BUILD) --parallel $(JOBS) --target ervobjectmodel erv_platform_simulateddevicestack
	scripts/exported-symbols.sh update nm abi/exported-symbols-amd64.txt $(call ABI_LIBS,$(BUILD))
	@if [ -d $(BUILD_ARMHF) ]; then \
	  cmake --build $(BUILD_ARMHF) --parallel $(JOBS) --target ervobjectmodel erv_platform_simulateddevicestack && \
	  scripts/exported-symbols.sh update arm-linux-gnueabihf-nm abi/exported-symbols-armhf.txt $(call ABI_LIBS,$(BUILD_ARMHF)); \
	else echo "no $(BUILD_ARMHF): run make armhf, then make abi-update again for the armhf list"; fi

bench: deps
	$(call configure,$(BUILD_RELEASE),$(RELEASE_ARGS))
	cmake --build $(BUILD_RELEASE) --parallel $(JOBS) --target ervom_bench
	$(BUILD_RELEASE)/bench/ervom_bench $(BENCH_ARGS)

# The counts are taken in the make test tree, whose build the CI check (ctest -L perf) uses too.
perf-baseline: configure
	cmake --build $(BUILD) --parallel $(JOBS) --target ervom_perfcount
	scripts/perf-count.sh update $(BUILD)/bench/ervom_perfcount bench/perf-baseline.txt

fuzz: deps-fuzz
	$(call configure,$(BUILD_FUZZ),$(FUZZ_ARGS))
	cmake --build $(BUILD_FUZZ) --parallel $(JOBS)
	scripts/run-fuzzers.sh $(BUILD_FUZZ) $(FUZZ_SECONDS) $(FUZZ_TARGETS)

clean:
	rm -rf $(BUILD) $(BUILD_ASAN) $(BUILD_TSAN) $(BUILD_ARMHF) $(BUILD_RELEASE) $(BUILD_FUZZ)
