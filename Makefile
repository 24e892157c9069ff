# Front for the CMake build. Every target installs what is missing first.
BUILD_DIR      ?= build
SANITIZE_DIR   ?= build-sanitize
TSAN_DIR       ?= build-tsan
FUZZ_DIR       ?= build-fuzz
FUZZ_SECONDS   ?= 15
JOBS           ?= $(shell nproc)
# Caches shared between checkouts in different folders (CI clones afresh).
export CCACHE_BASEDIR := $(CURDIR)
export CCACHE_NOHASHDIR := 1
CTEST_FLAGS    ?= --output-on-failure -j$(JOBS) --timeout 300

.PHONY: all deps build test roots unit sanitize tsan fuzz bench demo dist format clean mutate

all: build

deps:
	@bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD_DIR) -j$(JOBS)

# Runs the suite, then the same suite under AddressSanitizer and UndefinedBehaviorSanitizer,
# then the threaded tests under ThreadSanitizer.
test: roots unit sanitize tsan

# The Debian roots of the portable tests come from the archive: made in the background
# while the code builds, so that the network and dpkg do not add to the run.
roots: deps
	mkdir -p $(BUILD_DIR)
	(for suite in bookworm trixie; do bash tests/portable/make-root.sh $$suite; done) \
		>$(BUILD_DIR)/roots.log 2>&1 </dev/null &

unit: build
	cd $(BUILD_DIR) && ctest $(CTEST_FLAGS)

sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DRV_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j$(JOBS)
	cd $(SANITIZE_DIR) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
		LSAN_OPTIONS=suppressions=$(CURDIR)/tests/lsan.supp \
		ctest $(CTEST_FLAGS)

# The tests whose code runs on two threads. Not the signature table: it starts programs
# with QProcess first, and after such a start ThreadSanitizer no longer sees the main
# thread's locks (the same hasher is clean without it, and reported with it).
TSAN_TESTS ?= ProcessCacheThreads|CopyHasher|ProcessUINotificationsTest|ScriptRunner|Log\.|WorkerTest|PrivilegedTest|SoundTest

tsan: deps
	cmake -S . -B $(TSAN_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DRV_TSAN=ON
	cmake --build $(TSAN_DIR) -j$(JOBS) --target unit_tests linux_tests
	cd $(TSAN_DIR) && TSAN_OPTIONS="halt_on_error=1 suppressions=$(CURDIR)/tests/tsan.supp" ctest $(CTEST_FLAGS) -R '$(TSAN_TESTS)'

fuzz: deps
	cmake -S . -B $(FUZZ_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
		-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DRV_FUZZ=ON -DRV_TESTS=OFF
	cmake --build $(FUZZ_DIR) -j$(JOBS)
	bash fuzz/run.sh $(FUZZ_DIR)/fuzz $(FUZZ_SECONDS)

bench: build
	$(BUILD_DIR)/bench/process_table_bench
	cd $(BUILD_DIR) && ./bench/copy_bench
	VELMORA_APPLICATIONS_DIR=$(CURDIR)/$(BUILD_DIR)/demo-run/Applications tests/x11/with-x11.sh \
		$(BUILD_DIR)/bench/startup_bench \
		"$(BUILD_DIR)/demo/Velmora Demo.app/Contents/Resources/VelmoraInstaller.app/Contents/MacOS/VelmoraInstaller" \
		$(BUILD_DIR)/bench/minimal_window $(BUILD_DIR)/bench/label_window
	tests/x11/with-x11.sh bench/dist-bench.sh $(CURDIR)/$(BUILD_DIR)

# Mutation testing on a copy of the tree (build-mutate/): MUTANTS=300 SEED=1, LONG=1 adds the
# tests that watch the whole system, E2E=1 the end-to-end runs. Not part of make test.
MUTANTS ?= 50
SEED    ?= 1
mutate: deps
	MUTANTS=$(MUTANTS) SEED=$(SEED) JOBS=$(JOBS) LONG=$(LONG) X11=$(X11) E2E=$(E2E) REV=$(REV) ONLY='$(ONLY)' \
		python3 scripts/mutate.py

demo: build
	BUILD_DIR=$(CURDIR)/$(BUILD_DIR) bash scripts/demo.sh

# The demo product as one double-clickable file: build/dist/Velmora Demo-<version>-<arch>.
dist: build
	cmake --build $(BUILD_DIR) --target dist

format:
	find src tests fuzz bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR) $(FUZZ_DIR)
