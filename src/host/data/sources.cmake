# Sources of host/data.
