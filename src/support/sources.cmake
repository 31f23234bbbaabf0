# Sources of support.
