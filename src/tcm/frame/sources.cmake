# Sources of the module's frame.
