"""The kinds of jobs. Each turns a request into what goes under "result" in the reply."""
