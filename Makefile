# Short forms of the CMake presets. `make demo` and `make test` are the whole set-up on a fresh
# Debian machine: they install what is missing first.

PACKAGES := cmake ninja-build g++ libgtest-dev libgmock-dev libbenchmark-dev libyaml-cpp-dev \
            nlohmann-json3-dev libcli11-dev
SUDO := $(if $(filter 0,$(shell id -u)),,sudo)
PREFIX ?= $(CURDIR)/install

.PHONY: deps build demo test asan bench install clean

deps:
	@missing=""; \
	for p in $(PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get install -y --no-install-recommends $$missing || \
	  { $(SUDO) apt-get update && $(SUDO) apt-get install -y --no-install-recommends $$missing; }; \
	fi

build: deps
	cmake --preset default
	cmake --build --preset default

demo: build
	./build/default/tools/filtersim/filtersim

test: build
	ctest --preset default

asan: deps
	cmake --preset asan
	cmake --build --preset asan
	ctest --preset asan

bench: deps
	cmake --preset release
	cmake --build --preset release
	./build/release/bench/filters_bench $(BENCH_ARGS)

install: build
	cmake --install build/default --prefix $(PREFIX)

clean:
	rm -rf build install
