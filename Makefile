# The two set-up commands: `make demo` and `make test`. Both install what is
# missing (scripts/install-deps.sh) before they build.
BUILD      ?= build
ASAN_BUILD ?= build-asan
FUZZ_BUILD ?= build-fuzz
JOBS       ?= $(shell nproc)
SECONDS    ?= 60

.PHONY: all deps build test unit-test asan-test demo theme-demo package fuzz bench format clean

all: build

deps:
	bash scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build $(BUILD) -j$(JOBS)

# Every test of the release build, then the program's tests again under
# AddressSanitizer and UndefinedBehaviorSanitizer.
test: build
	ctest --test-dir $(BUILD) --output-on-failure -j$(JOBS)
	$(MAKE) --no-print-directory asan-test

asan-test: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DORMA_SANITIZE=ON -DORMA_BUILD_ENGINE=OFF >/dev/null
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	ctest --test-dir $(ASAN_BUILD) --output-on-failure -j$(JOBS) -L program

demo: build
	bash scripts/demo.sh $(BUILD)

# The Debian package, written to out/ (cmake/Packaging.cmake).
package: build
	cmake --build $(BUILD) --target package

# A sample theme filled with the demo's media: out/theme.mp4.
theme-demo: build
	bash scripts/theme-demo.sh $(BUILD)

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORMA_FUZZ=ON \
	  -DORMA_BUILD_ENGINE=OFF -DBUILD_TESTING=OFF >/dev/null
	cmake --build $(FUZZ_BUILD) -j$(JOBS) --target fuzz_draft_reader fuzz_export_settings fuzz_theme_request
	for t in fuzz_draft_reader fuzz_export_settings fuzz_theme_request; do \
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
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD)
