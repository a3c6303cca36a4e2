# Everything a person does with this tree, on a bare Debian 12.

.PHONY: run test bench check fuzz formats deb windows windows-test clean

has_display = $(shell scripts/has-display && echo yes)

# What the demonstration needs is installed and built only where it takes place; what shows the help, only where windows
# are seen and nothing is there for it.
run:
	scripts/install-dependencies build $(if $(has_display),$(shell scripts/has-help-viewer || echo xchm),demo)
	scripts/build release -DTAVRIN_DEMO=$(if $(has_display),OFF,ON)
	scripts/run build/release $(if $(VIDEO),"$(VIDEO)")

test:
	scripts/install-dependencies build test
	scripts/build dev
	scripts/test dev

bench:
	scripts/install-dependencies build test
	scripts/build release -DTAVRIN_BENCH=ON
	scripts/bench release

check:
	scripts/install-dependencies build test check
	scripts/check

fuzz:
	scripts/install-dependencies build test
	scripts/fuzz $(if $(FILMS),$(FILMS),10000) $(SEED)

formats:
	scripts/install-dependencies build test
	scripts/try-formats $(if $(FILMS),'$(FILMS)')

deb:
	scripts/make-deb

windows:
	scripts/make-windows

windows-test:
	scripts/windows-test

clean:
	rm -rf build dist
