// Drives kvillo's two MCP endpoints with the official TypeScript SDK: the
// Streamable HTTP transport against `kvillo --headless`, the stdio transport
// against `kvillo-mcp`, then the conformance suite's server scenarios.
// Usage: node mcp_clients_test.mjs <kvillo> <kvillo-mcp>
import { spawn, spawnSync } from "node:child_process";
import { mkdtempSync, rmSync } from "node:fs";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { join, dirname } from "node:path";
import { fileURLToPath } from "node:url";
import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StreamableHTTPClientTransport } from "@modelcontextprotocol/sdk/client/streamableHttp.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";

const [kvillo, bridge] = process.argv.slice(2);
const here = dirname(fileURLToPath(import.meta.url));
const home = mkdtempSync(join(tmpdir(), "kvillo-clients-"));
const environment = {
  ...process.env,
  HOME: home,
  XDG_DATA_HOME: join(home, "data"),
  XDG_CONFIG_HOME: join(home, "config"),
  TZ: "Europe/Oslo",
};
delete environment.DISPLAY;

let passed = 0;
let failed = 0;
async function check(name, body) {
  try {
    await body();
    passed++;
    console.log(`ok   ${name}`);
  } catch (error) {
    failed++;
    console.log(`FAIL ${name}: ${error?.stack ?? error}`);
  }
}
function expect(condition, message) {
  if (!condition) throw new Error(message);
}

function freePort() {
  return new Promise((resolve, reject) => {
    const server = createServer();
    server.listen(0, "127.0.0.1", () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
    server.on("error", reject);
  });
}

async function waitForBanner(url) {
  for (let attempt = 0; attempt < 100; attempt++) {
    try {
      const response = await fetch(url);
      if (response.ok) return;
    } catch {}
    await new Promise((resolve) => setTimeout(resolve, 100));
  }
  throw new Error(`no banner at ${url}`);
}

// The same conversation over either transport.
async function converse(client, label) {
  await check(`${label}: lists the eleven tools`, async () => {
    const { tools } = await client.listTools();
    expect(tools.length === 11, `got ${tools.length} tools`);
    expect(tools[0].name === "get_activities", `first tool ${tools[0].name}`);
  });
  await check(`${label}: get_activities`, async () => {
    const result = await client.callTool({ name: "get_activities", arguments: {} });
    expect(!result.isError, JSON.stringify(result));
    expect(typeof result.content[0].text === "string", "no text");
  });
  await check(`${label}: annotate`, async () => {
    const result = await client.callTool({
      name: "annotate",
      arguments: { text: `Testing ${label}`, duration: "5m" },
    });
    expect(!result.isError, JSON.stringify(result));
    expect(result.content[0].text.startsWith(`Annotation started: Testing ${label}`),
      result.content[0].text);
  });
  await check(`${label}: get_project_time`, async () => {
    const result = await client.callTool({ name: "get_project_time", arguments: {} });
    expect(!result.isError, JSON.stringify(result));
    expect(result.content[0].text === "No projects yet. Use save_project to add one.",
      result.content[0].text);
  });
  await check(`${label}: reads today's activities`, async () => {
    const { contents } = await client.readResource({ uri: "kvillo://activities/today" });
    expect(contents[0].text.includes(`Testing ${label}`), contents[0].text);
  });
}

const port = await freePort();
const server = spawn(kvillo, ["--headless", "--port", String(port)], {
  env: environment,
  stdio: ["ignore", "inherit", "inherit"],
});
try {
  await waitForBanner(`http://localhost:${port}/`);
  const url = new URL(`http://localhost:${port}/mcp`);

  const http = new Client({ name: "kvillo-test", version: "1.0.0" });
  let transportErrors = 0;
  const httpTransport = new StreamableHTTPClientTransport(url);
  httpTransport.onerror = (error) => {
    transportErrors++;
    console.log(`transport error: ${error}`);
  };
  await check("http: connects", () => http.connect(httpTransport));
  await converse(http, "http");
  await http.close();
  await check("http: no transport errors", async () =>
    expect(transportErrors === 0, `${transportErrors} transport errors`));

  const stdio = new Client({ name: "kvillo-test", version: "1.0.0" });
  await check("stdio: connects", () =>
    stdio.connect(new StdioClientTransport({ command: bridge, env: environment, stderr: "inherit" })));
  await converse(stdio, "stdio");
  await stdio.close();

  const conformance = join(here, "node_modules", ".bin", "conformance");
  for (const scenario of ["server-initialize", "ping", "tools-list", "resources-list",
                          "dns-rebinding-protection"]) {
    await check(`conformance: ${scenario}`, async () => {
      const run = spawnSync(conformance, ["server", "--url", url.href, "--scenario", scenario],
        { encoding: "utf8", timeout: 60000 });
      const output = `${run.stdout}${run.stderr}`;
      expect(run.status === 0 && / 0 failed/.test(output), output);
    });
  }
} finally {
  server.kill("SIGTERM");
  rmSync(home, { recursive: true, force: true });
}
console.log(`${passed} passed, ${failed} failed`);
process.exit(failed === 0 ? 0 : 1);
