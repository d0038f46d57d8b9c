# Set-up and everyday commands. `make run` and `make test` work on a fresh Debian 12 machine:
# both install what is missing first.
PREFIX ?= /usr/local
WERROR := $(if $(CI),ON,OFF)
export TESSALINE_WERROR := $(WERROR)

.PHONY: all deps test-deps package-deps release run dev test install package bench fuzz clean

all: release

# What building and running need; the tests, fuzzers and benchmarks add their own tools.
deps:
	@scripts/install-deps.sh >&2

test-deps:
	@scripts/install-deps.sh --test >&2

package-deps:
	@scripts/install-deps.sh --package >&2

# Build output goes to stderr so that `make run` keeps stdout for the protocol.
release: deps
	@cmake --preset release >&2 && cmake --build --preset release >&2

run: release
	@./build/release/tessaline-mcp

dev: test-deps
	cmake --preset dev && cmake --build --preset dev

test: test-deps
	scripts/test.sh

install: release
	cmake --install build/release --prefix $(PREFIX)

# build/tessaline-mcp_<version>_amd64.deb, from the release build.
package: package-deps release
	cpack --preset release

bench: test-deps
	cmake --preset bench && cmake --build --preset bench
	scripts/bench.sh

fuzz: test-deps
	FUZZ_SECONDS=$${FUZZ_SECONDS:-300} scripts/fuzz.sh

clean:
	rm -rf build
