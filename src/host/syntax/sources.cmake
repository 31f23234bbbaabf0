# Sources of host/syntax.
