# The front door; all that it does stands in CMakePresets.json and scripts/.

.PHONY: help demo test check crashtest bench bench-check lab-drain fuzz fuzz-night coverage windows mutants planted-faults install package dependencies
.DEFAULT_GOAL := help

help:
	@echo "make demo    install what is missing, build, show one whole life of the library"
	@echo "make test    install what is missing, build, run every suite"
	@echo "make check   all that continuous integration runs: test, clang-tidy, sanitizers with clang++, Windows, fuzzers"
	@echo "make crashtest kill host and product thousands of times while records flow; minutes"
	@echo "make bench   build the release variant and run the benchmarks"
	@echo "make bench-check build the release variant and compare the benchmarks' ratios with those of the tree; minutes"
	@echo "make lab-drain ten million records through the lab's product and host; minutes, 11 GB of memory, 11 GB of disk"
	@echo "make windows cross-build for 32-bit Windows, run the suites under Wine, pack a zip"
	@echo "make install build the release variant and install it below PREFIX (/usr/local); DESTDIR is respected"
	@echo "make package the same as a Debian package, build/release/package/*.deb"
	@echo "make fuzz    run each libFuzzer target for a minute"
	@echo "make fuzz-night run them for ten hours, and keep count"
	@echo "make coverage which lines and branches of the library its suites run"
	@echo "make mutants change the code in four thousand places, one at a time: does a test notice? An hour"
	@echo "make proof-NAME try everything of one kind that can go wrong; names are the folders of proofs/"
	@echo "make planted-faults plant faults of the library: does the judge of each find it? Half an hour"

dependencies:
	@scripts/install-dependencies -q

test: dependencies
	cmake --preset debug
	cmake --build --preset debug
	ctest --preset debug

check: test
	scripts/check

demo: dependencies
	scripts/demo

crashtest: dependencies
	scripts/crashtest

bench: dependencies
	scripts/bench

bench-check: dependencies
	cmake --preset release
	cmake --build --preset release
	scripts/bench-check

lab-drain: dependencies
	cmake --preset release
	cmake --build --preset release --target simproduct devhost OvAgentConnector
	scripts/lab-drain

windows: dependencies
	scripts/windows/build
	scripts/windows/package
	scripts/windows/test

PREFIX ?= /usr/local

install: dependencies
	cmake --preset release
	cmake --build --preset release --target kyr_installed
	cmake --install build/release --strip --prefix "$(PREFIX)"

package: dependencies
	cmake --preset release
	cmake --build --preset release --target kyr_installed
	cpack --config build/release/CPackConfig.cmake -B build/release/package

fuzz: dependencies
	scripts/fuzz

fuzz-night: dependencies
	scripts/proof fuzz --minutes=600

coverage: dependencies
	scripts/coverage

proof-%: dependencies
	scripts/proof $*

mutants: dependencies
	scripts/mutants

planted-faults: dependencies
	scripts/planted-faults
