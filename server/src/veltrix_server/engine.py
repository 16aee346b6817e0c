"""The one Spark session of the server: starting it, and running and ending groups of its jobs."""

import contextlib
import threading
from collections.abc import Iterator

from py4j.protocol import Py4JError, Py4JJavaError, Py4JNetworkError
from pyspark import SparkContext
from pyspark.errors import PySparkException
from pyspark.sql import SparkSession

from veltrix_server.configuration import Configuration
from veltrix_server.errors import JobCancelled, JobFailure

_QUOTED_CHARACTERS = 300


class Engine:
    """Thread-safe, but for `start` and `stop`, which one thread at a time may call."""

    def __init__(self, configuration: Configuration) -> None:
        self._configuration = configuration
        self._session: SparkSession | None = None

    def start(self) -> None:
        """Starts Spark; returns when it takes jobs."""
        if self._session is not None and not self.is_alive():
            _forget_process()
        builder = SparkSession.builder.appName("veltrix-server").master(self._configuration.master)
        for name, value in self._settings().items():
            builder = builder.config(name, value)
        session = builder.getOrCreate()
        # Spark's own messages quote paths and cells.
        session.sparkContext.setLogLevel("OFF")
        self._session = session

    def _settings(self) -> dict[str, str]:
        limits = self._configuration.limits
        settings = {
            "spark.driver.memory": self._configuration.driver_memory,
            "spark.driver.maxResultSize": str(limits.reply),
            "spark.ui.enabled": "false",
            "spark.ui.showConsoleProgress": "false",
            "spark.redaction.regex": "(?i)secret|password|token|key",
            "spark.sql.redaction.options.regex": "(?i)url|secret|password|token|key",
            "spark.sql.ansi.enabled": "false",
            "spark.sql.caseSensitive": "true",
            "spark.sql.session.timeZone": "UTC",
        }
        if self._configuration.master.startswith("local"):
            settings |= {"spark.driver.host": "127.0.0.1", "spark.driver.bindAddress": "127.0.0.1"}
        if self._configuration.jars:
            settings["spark.jars"] = ",".join(self._configuration.jars)
        return settings | dict(self._configuration.spark)

    def stop(self) -> None:
        if self._session is not None:
            with contextlib.suppress(Py4JError, OSError):
                self._session.stop()
            self._session = None

    def is_alive(self) -> bool:
        """Whether Spark's driver process is there and takes jobs."""
        try:
            return self._session is not None and not self.context._jsc.sc().isStopped()
        except (Py4JError, OSError, AttributeError):
            return False

    @property
    def session(self) -> SparkSession:
        if self._session is None:
            raise JobFailure("Spark does not run")
        return self._session

    @property
    def context(self) -> SparkContext:
        return self.session.sparkContext

    @property
    def cores(self) -> int:
        return self.context.defaultParallelism

    @property
    def master(self) -> str:
        return self.context.master

    def cancel(self, group: str) -> None:
        """Ends the Spark jobs of a group that run now."""
        with contextlib.suppress(Py4JError, OSError, JobFailure):
            self.context.cancelJobGroup(group)


def _forget_process() -> None:
    """Makes PySpark start another driver process when the last one has died."""
    SparkSession._instantiatedSession = None
    SparkContext._active_spark_context = None
    SparkContext._gateway = None
    SparkContext._jvm = None


class Run:
    """One job's way through Spark. Its work asks `check` between steps."""

    def __init__(self, engine: Engine, group: str) -> None:
        self.engine = engine
        self.group = group
        self._reason: str | None = None
        self._lock = threading.Lock()

    def cancel(self, reason: str) -> None:
        """Ends the job; takes effect at once inside Spark and at the next step outside. To be
        called again until the job has ended, as it may have been between two steps."""
        with self._lock:
            self._reason = self._reason or reason
        self.engine.cancel(self.group)

    def check(self) -> None:
        if self._reason is not None:
            raise JobCancelled(self._reason)

    @contextlib.contextmanager
    def steps(self) -> Iterator[SparkSession]:
        """The session for the work of this thread; what Spark throws becomes a `JobFailure`."""
        try:
            self.check()
            self.engine.context.setJobGroup(self.group, "job of the server")
            yield self.engine.session
        except (PySparkException, Py4JJavaError) as error:
            self.check()
            raise JobFailure(_reason_of(error)) from None
        except (Py4JNetworkError, ConnectionError, EOFError):
            self.check()
            raise JobFailure("Spark's driver process has ended") from None


_CAUSES = (
    ("PATH_NOT_FOUND", "The file does not exist"),
    ("AccessDenied", "The storage refuses access to the file"),
    ("InvalidAccessKeyId", "The storage does not know the access key"),
    ("SignatureDoesNotMatch", "The storage refuses the secret key"),
    ("S3AFileSystem not found", "The server was set up without access to s3a"),
    ("is not a Parquet file", "The file is no Parquet file"),
    ("UNABLE_TO_INFER_SCHEMA", "The file holds no columns"),
    ("maxResultSize", "The result is larger than the server's limit"),
    ("OutOfMemoryError", "Spark has run out of memory"),
    ("ExecutorLostFailure", "Executors of Spark were lost"),
    ("FileNotFoundException", "The file was changed or removed meanwhile"),
)


def _reason_of(error: PySparkException | Py4JJavaError) -> str:
    """Why Spark failed, without what its message quotes of the data."""
    text = str(error)
    for mark, reason in _CAUSES:
        if mark in text:
            return reason
    if isinstance(error, PySparkException):
        return f"Spark refused the job ({error.getErrorClass() or type(error).__name__})"
    java_class = error.java_exception.getClass().getName()
    return f"Spark failed ({java_class})"[:_QUOTED_CHARACTERS]
