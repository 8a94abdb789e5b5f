// Nothing: it makes the headers that the tests have in common a target.
