"""What the proofs over tree and suites share: reading C++, finding tests, running them."""
