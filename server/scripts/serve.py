"""The server as a file, for spark-submit."""

from veltrix_server.__main__ import main

main()
