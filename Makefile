# The project's two commands for a bare Debian machine, and shortcuts for its developers.
# Everything of substance is in scripts/.

.DEFAULT_GOAL := help
.PHONY: help demo test build docs packages test-packages bench bench-check fuzz tsan coverage format \
  lint clean

help:
	@echo 'make demo    install what is missing, build, and show what readkit does on real data'
	@echo 'make test    install what is missing, build, and run every test and check'
	@echo 'make build   build the library and the program into build/demo, without the tests'
	@echo 'make docs    install what is missing, build, and make a site of the documents in build/site'
	@echo 'make packages   install what is missing, and make Debian packages in build/packages/deb'
	@echo 'make test-packages   install those into an empty Debian and use them, and a wheel (root, minutes, a mirror)'
	@echo 'make bench   install other tools, build, and measure readkit against them (ARGS: options)'
	@echo 'make bench-check   count the instructions of hot paths and compare them with those of before'
	@echo 'make fuzz    install what is missing, build, and fuzz every target (ARGS: seconds, names)'
	@echo 'make tsan    install what is missing, build, and test calls from several threads under a sanitizer'
	@echo 'make coverage   install what is missing, and count the branches of src/ that the tests take'
	@echo 'make format  rewrite the sources in the project'"'"'s format'
	@echo 'make lint    check format and run clang-tidy'
	@echo 'make clean   remove build/'

demo:
	@scripts/install-dependencies demo
	@scripts/demo

test:
	@scripts/install-dependencies test
	@scripts/test

build:
	@scripts/install-dependencies build
	@scripts/build

docs:
	@scripts/install-dependencies docs
	@scripts/docs

packages:
	@scripts/install-dependencies packages
	@scripts/packages

test-packages: packages
	@scripts/install-dependencies test-packages
	@scripts/test-packages
	@scripts/test-wheel

bench:
	@scripts/install-dependencies bench
	@scripts/build --benchmarks
	@bench/run $(ARGS)

bench-check:
	@scripts/install-dependencies bench
	@scripts/build
	@bench/check $(ARGS)

fuzz:
	@scripts/install-dependencies test
	@scripts/fuzz $(ARGS)

tsan:
	@scripts/install-dependencies test
	@scripts/tsan

coverage:
	@scripts/install-dependencies coverage
	@scripts/coverage

format:
	@scripts/format --fix

lint:
	@scripts/install-dependencies test
	@scripts/format
	@scripts/lint

clean:
	rm -rf build
