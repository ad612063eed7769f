# Two commands do everything on a fresh machine:
#   make demo   set-up, build, run sherd on the bundled sample backup, and say how to
#               open it in the viewer
#   make test   set-up, build, and every test, plain and with ASan/UBSan
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
# The tests that run threads against each other, for ThreadSanitizer.
TSAN_TARGETS ?= test_service_threads test_service
TSAN_TESTS   ?= ServiceThreads|ServiceTest
JOBS       ?= $(shell nproc)
CMAKE_GEN  := $(shell command -v ninja >/dev/null 2>&1 && echo "-G Ninja")
# Tests that use Qt's GUI classes run without a display, also when the build
# lists their test cases.
export QT_QPA_PLATFORM ?= offscreen
CTEST_ARGS ?= --output-on-failure -j $(JOBS) --timeout 600

.PHONY: all setup build build-asan build-tsan demo test test-plain test-asan test-tsan bench format clean

all: build

setup:
	@scripts/setup

$(BUILD)/CMakeCache.txt: | setup
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(ASAN_BUILD)/CMakeCache.txt: | setup
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DSHERD_SANITIZE=ON

$(TSAN_BUILD)/CMakeCache.txt: | setup
	cmake -S . -B $(TSAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DSHERD_TSAN=ON -DSHERD_BUILD_BENCH=OFF

build: setup $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

build-asan: setup $(ASAN_BUILD)/CMakeCache.txt
	cmake --build $(ASAN_BUILD) -j $(JOBS)

# The sample is kept in the build folder, so that the viewer can open it.
# The demo's export goes to $(BUILD)/demo-export, made afresh each time.
demo: build
	rm -rf $(BUILD)/demo-export
	$(BUILD)/apps/cli/sherd demo --export $(BUILD)/demo-export --keep $(abspath $(BUILD))/sample-backup
	@echo
	@echo "Browse the sample in the desktop viewer (the locked note's password is sherd):"
	@echo "  $(BUILD)/apps/viewer/sherd-viewer $(abspath $(BUILD))/sample-backup"

test: test-plain test-asan

test-plain: build
	cd $(BUILD) && ctest $(CTEST_ARGS)

test-asan: build-asan
	cd $(ASAN_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp:print_suppressions=0 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest $(CTEST_ARGS)

build-tsan: setup $(TSAN_BUILD)/CMakeCache.txt
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target $(TSAN_TARGETS)

# ThreadSanitizer over the threaded tests only: a whole build would double
# the time of CI for code that runs on one thread.
test-tsan: build-tsan
	cd $(TSAN_BUILD) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest $(CTEST_ARGS) -R '$(TSAN_TESTS)'

# Every bench, then one table: a line per workload with its load and its
# baseline from the same run (CPU seconds), their ratio, and the peak resident
# memory of the load over the size of the data it read.
bench: build
	@rm -f $(CURDIR)/$(BUILD)/bench-summary.txt
	@for b in $(BUILD)/bench/bench_*; do [ -x "$$b" ] && SHERD_BENCH_SUMMARY=$(CURDIR)/$(BUILD)/bench-summary.txt "$$b" || exit 1; done
	@echo; printf '%-34s %9s %9s %7s %10s\n' NAME load baseline ratio peak/db
	@cat $(CURDIR)/$(BUILD)/bench-summary.txt

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
