// Keeps the module library non-empty until the frame lands.
