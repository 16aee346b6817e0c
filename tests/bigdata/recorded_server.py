"""Replays replies of a job server: prints its port, and serves until it is ended."""

import http.server
import json
import sys
import urllib.parse

CONFIG = {"delimiters": ",", "fileLocation": "/d/a.csv", "isCorvalaCluster": False,
          "isApproximateSampling": False, "isHeader": True, "isSampleWithReplacement": False,
          "isParquet": False, "randomSeed": 7, "sampleSize": 2}
RUN = {"clusterTime": 1.25, "numRows": 2, "numRowsTotal": 150, "numCols": 2, "numColsTotal": 5,
       "sparkMaster": "local[2]", "numTotalCores": 2, "trackRowID": False,
       "schemaFull": [["width", "double"], ["species", "string"]], "schema": ["width", "species"],
       "sampledData": [[0.2, "setosa"], [1.4, "versicolor, \"wild\""]], "jobConfig": CONFIG}
CLASS_PATH = "quorvan.spark.sampling.SamplingApplication"
contexts = []
polls = 0


class Server(http.server.BaseHTTPRequestHandler):
    def reply(self, content, status=200):
        body = json.dumps(content).encode()
        self.send_response(status)
        self.send_header("Content-Type", "application/json; charset=UTF-8")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        global polls
        if self.path == "/healthz":
            self.reply("OK")
        elif self.path == "/contexts":
            self.reply(contexts)
        elif self.path == "/jobs/job-1/jobStatusFull":
            polls += 1
            self.reply({"jobId": "job-1", "startTime": "now", "classPath": CLASS_PATH,
                        "context": contexts[0], "duration": "6.341 secs",
                        "status": "RUNNING" if polls < 3 else "FINISHED"})
        elif self.path == "/jobs/job-1":
            self.reply({"status": "OK", "result": RUN})
        else:
            self.reply({"status": "ERROR", "result": "No such job ID"}, 404)

    def do_POST(self):
        url = urllib.parse.urlsplit(self.path)
        query = dict(urllib.parse.parse_qsl(url.query))
        body = self.rfile.read(int(self.headers["Content-Length"] or 0))
        if url.path.startswith("/contexts/"):
            contexts.append(urllib.parse.unquote(url.path[len("/contexts/"):]))
            self.reply("OK")
        elif query["context"] != contexts[0] or query["timeout"] != "21474835":
            self.reply({"status": "ERROR", "result": "query"}, 400)
        elif query["classPath"] == "quorvan.spark.InferSchemaApplication":
            self.reply({"status": "OK", "result": {"clusterTime": 0.5, "header": ["width", "sp"]}})
        elif json.loads(body)["awsSecretKey"] != "from a file":
            self.reply({"status": "ERROR", "result": "keys"}, 400)
        elif query.get("sync") == "true":
            self.reply({"status": "OK", "result": RUN})
        else:
            self.reply({"status": "STARTED",
                        "result": {"jobId": "job-1", "context": contexts[0]}}, 202)

    def log_message(self, *arguments):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
print(server.server_address[1], flush=True)
sys.stdout.close()
server.serve_forever()
