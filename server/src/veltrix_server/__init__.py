"""Job server that runs Veltrix's big-data jobs on Apache Spark."""
