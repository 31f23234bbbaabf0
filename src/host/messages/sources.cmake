# Sources of host/messages.
