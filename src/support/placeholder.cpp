// Keeps the support library non-empty until its first part lands.
