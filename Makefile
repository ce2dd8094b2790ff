# The two set-up commands: `make demo` and `make test`. Both install what is
# missing (scripts/install-deps.sh) before they build.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
WIN_BUILD  ?= build-windows
WIN_FULL_BUILD ?= build-windows-full
JOBS       ?= $(shell nproc)
SECONDS    ?= 60

.PHONY: all deps build test unit-test asan-test windows-program-test windows-deps windows windows-test windows-test-if-built demo theme-demo package fuzz bench format clean

all: build

deps:
	bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build $(BUILD) -j$(JOBS)

# Every test of the release build, then the program's tests again under
# AddressSanitizer and UndefinedBehaviorSanitizer, and once more cross-built
# for Windows and run under Wine (windows-program-test; the figures of what
# it adds to a fresh machine's run are in docs/windows.md); last, where the
# Windows libraries are built, the Windows program with its engine
# (windows-test; otherwise a line says it was skipped and how to build them).
test: build
	ctest --test-dir $(BUILD) --output-on-failure -j$(JOBS)
	$(MAKE) --no-print-directory asan-test
	$(MAKE) --no-print-directory windows-program-test
	$(MAKE) --no-print-directory windows-test-if-built

asan-test: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DORMA_SANITIZE=ON -DORMA_BUILD_ENGINE=OFF >/dev/null
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	ctest --test-dir $(ASAN_BUILD) --output-on-failure -j$(JOBS) -L program

# The program's tests against the recording double, cross-built with
# MinGW-w64 and run under Wine once per ANSI code page (936 and 1252); then
# the command-line cases (tests/cli) run with the Windows and the Linux
# program, both linked with the double, and their consoles compared line by
# line (scripts/windows/cli-compare.sh). Of the Windows libraries
# (scripts/windows/build-deps.sh) it needs only cJSON and GoogleTest, built
# once into ~/.cache/ormadraft.
windows-program-test: deps
	bash scripts/windows/build-deps.sh program
	cmake -S . -B $(WIN_BUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DORMA_WINDOWS_PREFIX=$$(bash scripts/windows/build-deps.sh --prefix) -DORMA_BUILD_ENGINE=OFF >/dev/null
	cmake --build $(WIN_BUILD) -j$(JOBS) --target program_tests ormadraft_recording
	bash scripts/windows/run-tests.sh $(WIN_BUILD)
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build $(BUILD) -j$(JOBS) --target ormadraft_recording
	bash scripts/windows/cli-compare.sh $(BUILD)/tests/ormadraft_recording $(WIN_BUILD)/tests/ormadraft_recording.exe

# Every Windows library of the program and the engine (the long first build;
# KEEP_GOING=1 goes on past a failed one).
windows-deps: deps
	bash scripts/windows/build-deps.sh all

# The Windows program with its engine, OrmaDraft.exe and OrmaCore.dll, and
# the zip out/OrmaDraft-<version>-win64.zip (scripts/windows/package.sh).
windows: windows-deps
	cmake -S . -B $(WIN_FULL_BUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=Release \
	  -DORMA_WINDOWS_PREFIX=$$(bash scripts/windows/build-deps.sh --prefix) -DBUILD_TESTING=OFF >/dev/null
	cmake --build $(WIN_FULL_BUILD) -j$(JOBS) --target ormadraft
	bash scripts/windows/package.sh $(WIN_FULL_BUILD) out

# The Windows program with its real engine under Wine, against the Linux
# program (scripts/windows/engine-test.sh).
windows-test: windows build
	bash scripts/windows/engine-test.sh $(WIN_FULL_BUILD) $(BUILD) $$(ls out/OrmaDraft-*-win64.zip | tail -1)

# windows-test when the Windows libraries are all built (the long first
# build is not started by it), as the last step of make test.
windows-test-if-built:
	@if command -v x86_64-w64-mingw32-g++-posix >/dev/null && bash scripts/windows/build-deps.sh --status all >/dev/null; then \
	  $(MAKE) --no-print-directory windows-test; \
	else \
	  echo "SKIPPED windows-test: the Windows libraries are not built (make windows-deps builds them, about 3 hours on 2 cores)"; \
	fi

demo: build
	bash scripts/demo.sh $(BUILD)

# The Debian package, written to out/ (cmake/Packaging.cmake).
package: build
	cmake --build $(BUILD) --target package

# A sample theme filled with the demo's media: out/theme.mp4.
theme-demo: build
	bash scripts/theme-demo.sh $(BUILD)

# Every libFuzzer target, run one after the other for SECONDS each
# (tests/fuzz/run.sh). The core library is built with the same
# instrumentation for the targets of its resource readers.
FUZZ_TARGETS = fuzz_draft_reader fuzz_export_settings fuzz_theme_request fuzz_preview_messages \
  fuzz_transition_config fuzz_animation_config fuzz_mask_config fuzz_effect_config fuzz_sticker_config \
  fuzz_word_art fuzz_caption_style fuzz_lut_file

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORMA_FUZZ=ON \
	  -DBUILD_TESTING=OFF >/dev/null
	cmake --build $(FUZZ_BUILD) -j$(JOBS) --target $(FUZZ_TARGETS)
	for t in $(FUZZ_TARGETS); do \
	  bash tests/fuzz/run.sh $(FUZZ_BUILD)/tests/fuzz/$$t $(SECONDS) || exit 1; \
	done

bench: build
	bash bench/run $(BUILD)
	bash bench/stacked $(BUILD)
	bash bench/attributes $(BUILD)
	bash bench/captions $(BUILD)

format:
	find driver draft export preview themes platform corelib engine tests bench -name '*.cpp' -o -name '*.h' \
	  | xargs -r clang-format -i

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(WIN_BUILD) $(WIN_FULL_BUILD)
