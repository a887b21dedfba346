import js from "@eslint/js";
import tseslint from "typescript-eslint";

export default tseslint.config(
  { ignores: ["dist/", "build/", "node_modules/"] },
  js.configs.recommended,
  ...tseslint.configs.recommendedTypeChecked.map((one) => ({ ...one, files: ["**/*.ts"] })),
  {
    files: ["**/*.ts"],
    languageOptions: { parserOptions: { projectService: true, tsconfigRootDir: import.meta.dirname } },
    rules: {
      eqeqeq: "error",
      "@typescript-eslint/no-unused-vars": ["error", { varsIgnorePattern: "^_", argsIgnorePattern: "^_" }],
      "no-console": ["error", { allow: ["warn", "error"] }],
      "@typescript-eslint/switch-exhaustiveness-check": ["error", { considerDefaultExhaustiveForUnions: true }],
      "@typescript-eslint/no-floating-promises": ["error", { ignoreVoid: true }],
    },
  },
  {
    files: ["test/**/*.ts"],
    rules: { "no-console": "off", "@typescript-eslint/no-floating-promises": "off" },
  },
  { files: ["*.mjs"], languageOptions: { globals: { process: "readonly", console: "readonly" } } },
);
