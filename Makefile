# Everything a person does with this tree, on a bare Debian 12.

.PHONY: run test bench fuzz deb deps clean

run: deps
	scripts/build release
	scripts/run build/release $(if $(VIDEO),"$(VIDEO)")

test: deps
	scripts/build dev
	scripts/test dev

bench: deps
	scripts/build release -DTAVRIN_BENCH=ON
	scripts/bench release

fuzz: deps
	scripts/fuzz $(if $(FILMS),$(FILMS),10000) $(SEED)

deb:
	scripts/make-deb

deps:
	scripts/install-dependencies

clean:
	rm -rf build
