// Nothing: what counts is the headers that are compiled in front of it.
