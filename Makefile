# The commands of the project. `make help` lists them. Most set the machine up first.
SHELL := bash
.SHELLFLAGS := -euo pipefail -c
.DEFAULT_GOAL := build
MAKEFLAGS += --no-print-directory
.PHONY: build examples win32 test-win32 test test-slow test-clang test-debian13 test-newest test-wheel test-docs check docs demo bench fuzz clean help setup

PYTHON := .venv/bin/python
FUZZ_SECONDS ?= 60
DEMO ?= examples/process_control.py examples/send_fax.py

help: ## this list
	@awk -F ':.*## ' '/^[a-z0-9-]+:.*## / {printf "  make %-13s %s\n", $$1, $$2}' $(MAKEFILE_LIST)

setup:
	@tools/setup build

build: setup ## the module in build/lib, what kvrpc_tools reads in python/, kvrpc-schema in build/bin
	@tools/build release kvrpc kvrpc-schema kvrpc-generated
	@mkdir -p build/lib build/bin
	@cp -p build/release/lib/* build/lib/
	@cp -p build/release/kvrpc-schema build/bin/
	@cp -pR build/release/python/. python/

test: ## unit and end-to-end tests, debug and under the sanitizers
	@tools/setup build peers
	@tools/build debug
	@tools/build asan
	@tools/run-tests debug
	@tools/run-tests asan

test-slow: ## what takes longer: real time limits, a hundred thousand calls, long lists, storms
	@tools/setup build peers
	@tools/run-tests debug -m "slow or once"
	@tools/run-tests asan tests/e2e/test_storms.py
	@tools/run-tests tsan tests/e2e/test_storms.py

test-debian13: ## make demo, test and check in a root of Debian 13; as root
	@tools/debian13

test-clang: ## the tests of the module on clang's release build
	@tools/setup build peers check
	@tools/run-tests clang

test-newest: ## the same tests on the newest CPython of the machine
	@tools/setup build peers newest
	@tools/run-tests newest

test-wheel: ## the wheel and the source distribution, installed outside the tree
	@tools/setup build check
	@tools/test-wheel

test-docs: ## the code blocks of the guide and of README; the reference and the console in a browser
	@tools/setup build check
	@tools/run-tests debug tests/docs

check: ## formatting, lint, include direction, duplicates, byte order, file lengths, mentions, the type stub
	@tools/setup build check
	@tools/build debug
	@tools/check

docs: build ## the documents in build/docs: the guide, the reference of the interface
	@tools/docs

examples: build ## the calls and replies that the reference shows, anew; to be committed
	@PYTHONPATH=build/lib:python $(PYTHON) tools/make_examples.py tools/reference/examples.json

demo: build ## examples against the simulator, over real sockets; ends by itself
	@for example in $(DEMO); do \
	  echo "== $$example"; \
	  PYTHONPATH=build/lib:python timeout 60 $(PYTHON) -u -m kvrpc_tools.simulator --run $$example; \
	done

win32: build ## the module for 32-bit Windows, in build/win32/lib
	@tools/setup win32
	@tools/win32-root
	@tools/build win32

test-win32: build win32 ## the tests with a 32-bit Windows interpreter under Wine; as root
	@tools/win32-root wine
	@tools/win32-tests

bench: build ## measurements of the release build
	@tools/bench

fuzz: ## FUZZ_SECONDS (60) of each fuzz target
	@tools/setup build check
	@tools/build fuzz
	@tools/fuzz $(FUZZ_SECONDS)

clean: ## removes what was built; the virtual environments stay
	rm -rf build
