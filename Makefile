# Thin: every target installs what it needs, configures a preset and builds or runs it. `make` alone prints this list.

INSTALL := packaging/dependencies/install
BUILD = cmake --preset $(1) --log-level=WARNING && cmake --build --preset $(1)
CTEST_JOBS ?= $(shell echo $$((2 * $$(nproc))))
FUZZ_SECONDS ?= 60
PREFIX ?= /usr/local

.PHONY: help
help: ## Print this list
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-10s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)

.PHONY: demo
demo: module ## Build, start a module in a box with vyreld, and take a guided tour
	@simulator/box/demo build/host

.PHONY: shell
shell: module ## Open a shell inside a running module
	@simulator/box/shell build/host

.PHONY: test
test: host armhf-tests ## Build for this machine and 32-bit ARM, and run all tests
	@ctest --preset armhf -j $(CTEST_JOBS)
	@ctest --preset host -j $(CTEST_JOBS)

.PHONY: lib
lib: ## Build build/host/libvek_pal.so.1
	@$(INSTALL) build demo test
	@$(call BUILD,host) --target vek_pal

.PHONY: armhf
armhf: ## Build build/armhf/libvek_pal.so.1 for 32-bit ARM
	@$(INSTALL) build demo test
	@$(call BUILD,armhf) --target vek_pal

.PHONY: musl
musl: host ## Build build/musl/libvek_pal.so.1 and run the examples with it on a module
	@$(call BUILD,musl) --target vek_pal
	@packaging/check-musl build/musl build/host

.PHONY: deb
deb: ## Make the Debian packages in build/deb
	@$(INSTALL) build demo docs
	@packaging/deb build/deb

.PHONY: bench
bench: ## Measure speed and size beside the peers and floors, and print the ratios
	@$(INSTALL) build demo test bench
	@$(call BUILD,bench)
	@$(call BUILD,armhf) --target vek_pal
	@bench/report.py build/bench build/armhf

.PHONY: fuzz
fuzz: ## Run every fuzz target for FUZZ_SECONDS (60) each
	@$(INSTALL) build fuzz
	@$(call BUILD,fuzz)
	@tests/fuzz/run build/fuzz/fuzz $(FUZZ_SECONDS)

.PHONY: sanitize
sanitize: ## Run the tests under AddressSanitizer with UBSan, then under ThreadSanitizer
	@$(INSTALL) build demo test
	@$(call BUILD,asan)
	@ctest --preset asan -j $(CTEST_JOBS)
	@$(call BUILD,tsan)
	@ctest --preset tsan -j $(CTEST_JOBS) -L unit

.PHONY: docs
docs: host ## Check the documentation and render the manual pages into build/docs
	@$(INSTALL) docs
	@docs/render build/docs build/host

.PHONY: install
install: ## Install the library, headers, tools and manual pages below PREFIX (/usr/local), with DESTDIR
	@$(INSTALL) build demo docs
	@$(call BUILD,release)
	@docs/render --manuals build/docs build/release
	@cmake --install build/release --prefix $(PREFIX)

.PHONY: format
format: ## Lay out the code with clang-format
	@$(INSTALL) format
	@git ls-files '*.h' '*.cpp' | xargs clang-format -i

.PHONY: tidy
tidy: host ## Look for doubtful code with clang-tidy
	@$(INSTALL) format
	@git ls-files 'common/*.cpp' 'platform/*.cpp' 'providers/*.cpp' | xargs clang-tidy -p build/host --quiet

# The library and everything that runs with it, without the tests.
.PHONY: module
module:
	@$(INSTALL) build demo test
	@$(call BUILD,host) --target simulator/all tools/all examples/all

.PHONY: host
host:
	@$(INSTALL) build demo test
	@$(call BUILD,host)

.PHONY: armhf-tests
armhf-tests:
	@$(call BUILD,armhf)
